#include "cim/wbem/Keys.h"

#include "cim/wbem/Errors.h"
#include "cim/wbem/Types.h"

#include <algorithm>

namespace cim::wbem {

namespace {

// A provider may give an integer in another width than the class has, which the client's key has.
bool Agree(const Value &asked, const Value &found) {
    if (asked.type == CMPI_ref || found.type == CMPI_ref) return asked == found;
    return TextOf(asked) == TextOf(found);
}

} // namespace

void RequireKeysOfClass(const ObjectPath &path, const ClassTree &classes) {
    const ClassDeclaration *known = classes.Find(path.className);
    if (known == nullptr) return;
    for (const PropertyDeclaration &property : known->properties) {
        if (property.key && path.Key(property.name) == nullptr) {
            throw InvalidParameter("key " + property.name.Text() + " of " + path.className + " is missing");
        }
    }
    for (const NamedValue &key : path.keys) {
        const PropertyDeclaration *declared = known->Property(key.name);
        if (declared == nullptr || !declared->key) {
            throw InvalidParameter(key.name.Text() + " is no key of " + path.className);
        }
    }
}

bool SameKeys(const ObjectPath &asked, const ObjectPath &found) {
    // A key that is null is not in the names that clients get.
    const auto given =
        std::count_if(found.keys.begin(), found.keys.end(), [](const NamedValue &key) { return !key.value.IsNull(); });
    if (static_cast<std::size_t>(given) != asked.keys.size()) return false;
    return std::all_of(asked.keys.begin(), asked.keys.end(), [&found](const NamedValue &key) {
        const Value *value = found.Key(key.name);
        return value != nullptr && Agree(key.value, *value);
    });
}

} // namespace cim::wbem
