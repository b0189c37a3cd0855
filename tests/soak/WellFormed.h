// What a well-formed answer is, of a provider that serves RandomHardware: the class's keys and no others, the
// properties that the class is served with, all of them there, and a caption, a state and a health that belong to the
// identity in the keys and to each other.
#pragma once

#include "tests/support/Bench.h"

#include <string>

namespace support {

// What a provider is forgiven whose up-calls and objects fail: what it could not read or make is left out.
enum class Weather { Fair, Foul };

// Empty, or what is wrong.
std::string Flaw(const cim::ObjectPath &path, const std::string &className, Weather weather);
// With a list: of the other properties only those on it have values.
std::string Flaw(const cim::Instance &instance, const std::string &className, Weather weather,
                 cim::PropertyList list = nullptr);

} // namespace support
