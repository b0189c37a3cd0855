#include "cim/broker/classes/Qualifiers.h"

#include <algorithm>

namespace cim {

const QualifierDeclaration *FindQualifier(std::string_view name) {
    const auto *found = std::find_if(std::begin(kQualifiers), std::end(kQualifiers),
                                     [&](const QualifierDeclaration &each) { return SameName(each.name, name); });
    return found != std::end(kQualifiers) ? found : nullptr;
}

const Value *ValueOfQualifier(const Qualifiers &qualifiers, std::string_view name) {
    if (qualifiers == nullptr) return nullptr;
    for (const Qualifier &each : *qualifiers)
        if (SameName(each.declaration->name, name)) return &each.value;
    return nullptr;
}

bool IsTrue(const Qualifiers &qualifiers, std::string_view name) {
    const Value *value = ValueOfQualifier(qualifiers, name);
    return value != nullptr && *value == Value::Boolean(true);
}

Qualifiers Inherited(const Qualifiers &own, const Qualifiers &base) {
    if (base == nullptr) return own;
    auto all = own != nullptr ? *own : std::vector<Qualifier>();
    const std::size_t given = all.size();
    for (const Qualifier &each : *base)
        if (each.declaration->toSubclass && ValueOfQualifier(own, each.declaration->name) == nullptr)
            all.push_back({each.declaration, each.value, true});
    return all.size() > given ? std::make_shared<const std::vector<Qualifier>>(std::move(all)) : own;
}

} // namespace cim
