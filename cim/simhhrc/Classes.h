// The classes that the simulated vendor knows: those of the schema files, taken from them at build time, and those that
// a description adds.
#pragma once

#include <cmpidt.h>

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace sim {

using ClassId = int;
constexpr ClassId kNoClass = -1;

class Classes {
public:
    Classes(); // the schema's

    ClassId Find(std::string_view name) const; // without regard to case; kNoClass when unknown
    // A class that is new; `super` may be kNoClass. `properties`: those that it declares itself.
    using Properties = std::vector<std::pair<std::string, CMPIType>>;
    ClassId Add(std::string name, ClassId super, Properties properties = {});

    // The added ones, in the order in which they were added: FirstAdded() to End().
    ClassId FirstAdded() const { return firstAdded; }
    ClassId End() const { return static_cast<ClassId>(classes.size()); }

    const std::string &Name(ClassId id) const { return classes[static_cast<std::size_t>(id)].name; }
    ClassId SuperOf(ClassId id) const { return classes[static_cast<std::size_t>(id)].super; }
    const Properties &OwnProperties(ClassId id) const { return classes[static_cast<std::size_t>(id)].properties; }
    // True for a class and those that it derives from; false when either is kNoClass.
    bool IsA(ClassId id, ClassId base) const;
    // Of a property that the class declares or inherits; CMPI_null when it does not.
    CMPIType TypeOf(ClassId id, std::string_view property) const;

private:
    struct Class {
        std::string name;
        ClassId super = kNoClass;
        Properties properties; // its own
    };
    std::vector<Class> classes;
    std::unordered_map<std::string, ClassId> byName; // in lower case
    ClassId firstAdded = 0;
};

} // namespace sim
