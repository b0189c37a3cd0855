// Between CMPI's values and plain ones, and the rules by which a value fits a declared type.
#pragma once

#include "cim/broker/Core.h"
#include "cim/values/Types.h"

#include <optional>

namespace cim {

// The value that a provider passes; a null pointer is the null of the type. With CMPI_chars the pointer is the text
// itself. None for a type that has no plain counterpart, or an array that is not of the type said.
std::optional<Value> FromCmpi(const CMPIValue *value, CMPIType type);

// Whether a provider passes the text `known` once more, as characters.
bool IsText(const Value &known, const CMPIValue *value, CMPIType type);

// The value as a broker returns it: objects are lent to the calling thread. Texts are CMPI_string, and a null text is a
// string whose characters are null.
CMPIData ToCmpi(Core &core, const Value &value, bool fromUpcall = false);

// Whether a CIMOM takes a value of `type`, as given by the provider, for a property that is declared as `declared`: any
// width and sign of integer for an integer, any real for a real, else the same kind. Characters go unchecked.
bool Fits(CMPIType declared, CMPIType type);

// What is answered where there is nothing.
CMPIData Missing(CMPIStatus *status, CMPIrc rc, CMPIValueState state = CMPI_notFound);

Status ToStatus(const CMPIStatus &status);
// The status with its text lent to the calling thread.
CMPIStatus FromStatus(Core &core, const Status &status);

} // namespace cim
