#include "cim/quarnel/QuarnelProviderUtil/Log.h"

#include <stdarg.h>

Relaxed<int> CurrentLogMask(LOG_UPTO(LOG_DEBUG));

// NOLINTNEXTLINE(concurrency-mt-unsafe): glibc has a lock around its mask.
void ReadLogMask() { CurrentLogMask = setlogmask(0); }

// NOLINTNEXTLINE(cert-dcl50-cpp): formats are checked against their arguments, as printf's are.
void LogLine(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}
