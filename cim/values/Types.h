// CIM's types by name and by CMPI's code, and the numbers among their values.
#pragma once

#include <cmpidt.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace cim {

constexpr CMPIType ElementType(CMPIType type) { return static_cast<CMPIType>(type & ~CMPI_ARRAY); }
constexpr bool IsArray(CMPIType type) { return (type & CMPI_ARRAY) != 0; }
constexpr bool IsInteger(CMPIType type) { return (type & 0xff80) == CMPI_UINT; }
constexpr bool IsReal(CMPIType type) { return type == CMPI_real32 || type == CMPI_real64; }

// DSP0201's name, also of an array's elements: "uint16". "string" for a type that it has no name for.
const char *TypeName(CMPIType type);
// As MOF and descriptions declare it: "uint16[]".
std::string DeclaredTypeName(CMPIType type);
// Of exactly that name, which is not an array's; CMPI_null when there is none.
CMPIType TypeNamed(std::string_view name);

// A boolean, an integer (characters are unsigned ones) or a real, whatever its width.
using Numeric = std::variant<bool, std::uint64_t, std::int64_t, double>;

// The number as a value of the type: integers of either sign, and of a real's type too. None when the type has no such
// value.
std::optional<Numeric> NumberOfType(CMPIType type, const Numeric &number);

// None for a type whose values are not numbers.
std::optional<Numeric> ReadNumber(CMPIType type, const CMPIValue &value);
// False when the number is not of the kind that the type's values are. Too wide a number is truncated.
bool WriteNumber(CMPIType type, const Numeric &number, CMPIValue &value);

} // namespace cim
