// CIM types by DSP0201's names, and their values as text.
#pragma once

#include "cim/broker/classes/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace cim::wbem {

// "uint16" for CMPI_uint16 and for its arrays; "string" for what is no type of DSP0201's.
const char *TypeName(CMPIType type);
// CMPI_null for an unknown name. Names compare exactly.
CMPIType TypeNamed(std::string_view name);

bool IsInteger(CMPIType type);

// None when `text` is no value of that type, or one out of its range. Not for arrays, references and instances.
std::optional<Value> ValueOf(CMPIType type, std::string_view text);
// Of a value that is not null, no array, reference or instance.
std::string TextOf(const Value &value);

} // namespace cim::wbem
