// CIM values as DSP0201 writes them.
#pragma once

#include "cim/broker/classes/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace cim::wbem {

// None when `text` is not a value of that type, or one out of its range. Not for arrays, references and instances.
std::optional<Value> ValueOf(CMPIType type, std::string_view text);
// Of a value that is not null, an array, a reference or an instance.
std::string TextOf(const Value &value);

} // namespace cim::wbem
