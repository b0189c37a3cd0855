// The classes that a broker knows, read from MOF (DSP0221): names, superclasses, properties with their types, and
// of qualifiers those that clients ask for. Fixed once read, so any number of threads may look.
#pragma once

#include "cim/broker/classes/Named.h"
#include "cim/broker/classes/Qualifiers.h"

#include <cmpidt.h>

#include <string>
#include <string_view>
#include <vector>

namespace cim {

struct PropertyDeclaration {
    Name name;                  // a lasting one
    CMPIType type = CMPI_null;  // with CMPI_ARRAY for arrays
    std::string referenceClass; // of a reference
    std::string originClass;    // the class that declares it
    Qualifiers qualifiers;
    bool key = false;
};

struct ClassDeclaration {
    std::string name;
    std::string superclass;                // empty at a root
    Named<PropertyDeclaration> properties; // its own and the inherited ones, base class first
    Qualifiers qualifiers;
    bool association = false;

    const PropertyDeclaration *Property(std::string_view wanted) const { return properties.Find(wanted); } // or null
};

class ClassTree {
public:
    // Adds the classes of a MOF file. False, with "FILE:LINE: reason" in `error` and nothing added, when it is not
    // well formed, or names an unknown superclass or type, or declares a class a second time in another form.
    bool ReadFile(const std::string &file, std::string *error);
    // The same from a text; `name` stands for the file in errors.
    bool ReadText(std::string_view text, const std::string &name, std::string *error);

    const ClassDeclaration *Find(std::string_view name) const { return classes.Find(name); } // null when unknown
    bool IsA(std::string_view name, std::string_view base) const;
    std::vector<std::string> SubclassesOf(std::string_view name, bool deep) const; // not itself; "" for the roots
    std::vector<std::string> Names() const { return SubclassesOf("", true); }

private:
    Named<ClassDeclaration> classes; // superclasses before their subclasses
};

} // namespace cim
