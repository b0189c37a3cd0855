// The order in which people look for names with numbers in them: "c2" before "c10".
#pragma once

#include <string_view>

namespace cim {

bool NaturallyBefore(std::string_view a, std::string_view b);

} // namespace cim
