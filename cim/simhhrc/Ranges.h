// Entries that stand for several devices alike.
#pragma once

#include "cim/simhhrc/JsonValue.h"

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <string>
#include <vector>

namespace sim {

// The numbers of "0-3,8", in this order. Throws a Mistake when the text is not such a range.
std::vector<std::uint16_t> NumbersOf(const JsonValue &json, const std::string &what);

// The entries of a list, each that has a member "slots" or "ids" (`ones`: which of "slot" and "id" can be many)
// replaced by one entry for each number, with "slot" or "id" in its place, the number put into its texts, and what
// "except" says about the number. What was made is kept in `made`, the rest stays where it is.
std::vector<const JsonValue *> Expanded(const JsonValue::List &entries, const std::string &what,
                                        std::initializer_list<const char *> ones, std::deque<JsonValue> &made);

} // namespace sim
