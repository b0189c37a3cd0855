#include "tests/support/Syslog.h"

// Take the C library's place, also of the entries that a fortified build calls.
extern "C" {
void vsyslog(int priority, const char *format, va_list arguments) { support::TakeLogLine(priority, format, arguments); }

void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    support::TakeLogLine(priority, format, arguments);
    va_end(arguments);
}

void __vsyslog_chk(int priority, int, const char *format, va_list arguments) {
    support::TakeLogLine(priority, format, arguments);
}

void __syslog_chk(int priority, int, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    support::TakeLogLine(priority, format, arguments);
    va_end(arguments);
}
}
