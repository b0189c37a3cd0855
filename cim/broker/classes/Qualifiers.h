// The qualifiers that are kept of a MOF text, declared as the CIM schema declares them; all others are skipped.
#pragma once

#include "cim/broker/classes/Value.h"

#include <cmpidt.h>

#include <memory>
#include <string_view>
#include <vector>

namespace cim {

struct QualifierDeclaration {
    const char *name;
    const char *scopes; // what it is for, by DSP0201's names
    CMPIType type;
    bool overridable = true;
    bool toSubclass = true;
    bool translatable = false;
};

inline constexpr QualifierDeclaration kQualifiers[] = {
    {"Abstract", "CLASS ASSOCIATION INDICATION", CMPI_boolean, true, false},
    {"Association", "ASSOCIATION", CMPI_boolean, false},
    {"Description", "CLASS ASSOCIATION REFERENCE PROPERTY METHOD PARAMETER INDICATION", CMPI_string, true, true, true},
    {"Key", "REFERENCE PROPERTY", CMPI_boolean, false},
    {"Override", "REFERENCE PROPERTY METHOD", CMPI_string, true, false},
    {"ValueMap", "PROPERTY METHOD PARAMETER", CMPI_stringA},
    {"Values", "PROPERTY METHOD PARAMETER", CMPI_stringA, true, true, true},
    {"Version", "CLASS ASSOCIATION INDICATION", CMPI_string, true, false, true},
};

const QualifierDeclaration *FindQualifier(std::string_view name); // null for one that is not kept

struct Qualifier {
    const QualifierDeclaration *declaration;
    Value value;
    bool propagated = false; // given by a superclass
};

// Of a class or a property; null when it has none. Subclasses share those of the properties that they inherit.
using Qualifiers = std::shared_ptr<const std::vector<Qualifier>>;

// Null when there is none of that name.
const Value *ValueOfQualifier(const Qualifiers &qualifiers, std::string_view name);
// True when it is there and true.
bool IsTrue(const Qualifiers &qualifiers, std::string_view name);

// What `own` are with those that a superclass's element hands down.
Qualifiers Inherited(const Qualifiers &own, const Qualifiers &base);

} // namespace cim
