// The providers' log lines on their way to the C library, whose place these functions take for the libraries loaded.
//
// The provider reports a full job queue at the priority of errors, on healthy machines, too: whenever it reads more
// disks at first than the queue has room for. The program gives that line the priority of what else is said of such a
// reading.
#include <dlfcn.h>
#include <syslog.h>

#include <cstdarg>
#include <cstring>

namespace {

int MeantBy(int priority, const char *format) {
    return std::strcmp(format, "%s: FIFO full, waiting...\n") == 0 ? LOG_INFO : priority;
}

template <class Function> Function *InLibrary(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

void vsyslog(int priority, const char *format, va_list arguments) {
    static const auto write = InLibrary(&vsyslog, "vsyslog");
    write(MeantBy(priority, format), format, arguments);
}

// What a call of vsyslog becomes in a library that is compiled with checks.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library's name.
void __vsyslog_chk(int priority, int flag, const char *format, va_list arguments) {
    static const auto write = InLibrary(&__vsyslog_chk, "__vsyslog_chk");
    write(MeantBy(priority, format), flag, format, arguments);
}

} // extern "C"
