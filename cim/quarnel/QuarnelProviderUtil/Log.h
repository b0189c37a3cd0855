// Logging: one macro that looks at the syslog mask before it evaluates its arguments. Rendering an object path is a
// call into the broker, so a masked line must cost nothing.
#pragma once

#include "cim/quarnel/QuarnelProviderUtil/Relaxed.h"

#include <syslog.h>

#ifndef QUARNEL_LOG_MAX
#define QUARNEL_LOG_MAX LOG_DEBUG
#endif

// The process's syslog mask as it was when the current request, job or factory call began: asking the C library takes a
// lock that a slow log daemon can hold.
extern Relaxed<int> CurrentLogMask;
void ReadLogMask();

inline bool LogWanted(int priority) {
    return priority <= QUARNEL_LOG_MAX && (CurrentLogMask & LOG_MASK(priority)) != 0;
}

void LogLine(int priority, const char *format, ...) __attribute__((format(printf, 2, 3)));

// Text from outside is only ever an argument, never the format.
#define QLOG(priority, ...)                                                                                            \
    do {                                                                                                               \
        if (LogWanted(priority)) LogLine((priority), __VA_ARGS__);                                                     \
    } while (0)

// A text as a log line shows it.
inline const char *Shown(const char *text) { return text != nullptr ? text : "NULL"; }
