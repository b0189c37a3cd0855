#include "cim/simhhrc/Classes.h"

#include "cim/simhhrc/Graph.h"

namespace sim {
namespace {

#define CMPI_datetime CMPI_dateTime // MOF's spelling

// A class (no type; its superclass or an empty text) or a property of the class before it.
struct SchemaRow {
    const char *name;
    const char *superclass;
    CMPIType type;
};

#define CLASS(name, superclass) {#name, #superclass, CMPI_null},
#define PROPERTY(type, name) {#name, nullptr, CMPI_##type},
#define ARRAY(type, name) {#name, nullptr, CMPI_ARRAY | CMPI_##type},
const SchemaRow kSchema[] = {
#include "SchemaTable.inc"
};
#undef CLASS
#undef PROPERTY
#undef ARRAY
#undef CMPI_datetime

} // namespace

Classes::Classes() {
    for (const SchemaRow &row : kSchema) {
        if (row.superclass != nullptr) {
            Add(row.name, Find(row.superclass));
        } else {
            classes.back().properties.emplace_back(row.name, row.type);
        }
    }
    firstAdded = End();
}

ClassId Classes::Find(std::string_view name) const {
    const auto found = byName.find(LowerCase(name));
    return found == byName.end() ? kNoClass : found->second;
}

ClassId Classes::Add(std::string name, ClassId super, Properties properties) {
    const ClassId id = static_cast<ClassId>(classes.size());
    byName.emplace(LowerCase(name), id);
    classes.push_back({std::move(name), super, std::move(properties)});
    return id;
}

bool Classes::IsA(ClassId id, ClassId base) const {
    if (base == kNoClass) return false;
    while (id != kNoClass && id != base) id = classes[static_cast<std::size_t>(id)].super;
    return id == base;
}

CMPIType Classes::TypeOf(ClassId id, std::string_view property) const {
    for (; id != kNoClass; id = classes[static_cast<std::size_t>(id)].super) {
        for (const auto &[name, type] : classes[static_cast<std::size_t>(id)].properties) {
            if (SameName(name, property)) return type;
        }
    }
    return CMPI_null;
}

} // namespace sim
