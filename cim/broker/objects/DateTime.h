// CMPI's date and time objects over the texts of DSP0004: yyyymmddhhmmss.mmmmmmsutc, or ddddddddhhmmss.mmmmmm:000 for
// an interval.
#pragma once

#include <cmpift.h>

#include <string>

namespace cim {

class Core;

CMPIDateTime *LendDateTime(Core &core, std::string text);
const std::string &TextOf(const CMPIDateTime *dateTime);

// The text of a number of microseconds, since 1970 or of an interval.
std::string DateTimeText(CMPIUint64 microseconds, bool interval);
bool IsDateTimeText(const std::string &text);

} // namespace cim
