// syslog() as the code under test sees it: the program exports it and hands each line to TakeLogLine.
#pragma once

#include <cstdarg>

namespace support {

void TakeLogLine(int priority, const char *format, va_list arguments); // each program has its own

} // namespace support
