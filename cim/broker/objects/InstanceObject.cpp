#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

#include <algorithm>

namespace cim {
namespace {

const PropertyDeclaration *Declared(const InstanceObject &object, std::string_view name) {
    return object.declaration != nullptr ? object.declaration->Property(name) : nullptr;
}

bool IsListed(PropertyList list, std::string_view name) {
    return list == nullptr ||
           std::any_of(list->begin(), list->end(), [&](const std::string &listed) { return SameName(listed, name); });
}

// Whether the instance's filter lets a property be: it is listed, or a key of the class.
bool Passes(const InstanceObject &object, std::string_view name) {
    if (IsListed(object.filter ? &*object.filter : nullptr, name)) return true;
    const PropertyDeclaration *declared = Declared(object, name);
    return declared != nullptr && declared->key;
}

// What is set or null; none for what is missing.
std::optional<Value> ValueOf(const InstanceObject &object, std::string_view name) {
    if (const Value *known = object.value->Property(name)) return *known;
    const PropertyDeclaration *declared = object.value->othersAreNull ? Declared(object, name) : nullptr;
    if (declared != nullptr)
        if (const Value *key = KeyAsProperty(*object.value, *declared)) return *key;
    return declared != nullptr ? std::make_optional(Value::Null(declared->type)) : std::nullopt;
}

std::vector<Name> NamesOf(const InstanceObject &object) {
    std::vector<Name> names;
    if (object.value->othersAreNull && object.declaration != nullptr) {
        for (const PropertyDeclaration &property : object.declaration->properties) names.push_back(property.name);
    } else {
        for (const NamedValue &property : object.value->properties) names.push_back(property.name);
    }
    return names;
}

CMPIInstance *Clone(const CMPIInstance *from, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(from);
    const FaultPoint fault(object.core, {Operation::Clone, &*object.value->path});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    auto clone = std::make_unique<InstanceObject>(object.core, Shared<Instance>(object.value.Share()));
    clone->filter = object.filter;
    return Cloned(std::move(clone));
}

CMPIData GetProperty(const CMPIInstance *instance, const char *name, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::GetProperty, &*object.value->path});
    CMPIData data = Blank(CMPI_null, CMPI_nullValue);
    if (fault.Stops(status)) return data;
    const std::optional<Value> value = name != nullptr ? ValueOf(object, name) : std::nullopt;
    if (value) {
        Set(status, CMPI_RC_OK);
        data = ToCmpi(object.core, *value, object.fromUpcall);
    } else {
        data = Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    }
    fault.Rewrite(name, &data, status);
    return data;
}

CMPIData GetPropertyAt(const CMPIInstance *instance, CMPICount index, CMPIString **name, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const std::vector<Name> names = NamesOf(object);
    if (index >= names.size()) return Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    Set(status, CMPI_RC_OK);
    if (name != nullptr) *name = LendString(object.core, names[index]);
    return ToCmpi(object.core, *ValueOf(object, names[index]), object.fromUpcall);
}

CMPICount GetPropertyCount(const CMPIInstance *instance, CMPIStatus *status) {
    Set(status, CMPI_RC_OK);
    return static_cast<CMPICount>(NamesOf(ObjectOf<InstanceObject>(instance)).size());
}

CMPIStatus SetProperty(const CMPIInstance *instance, const char *named, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::SetProperty, &*object.value->path});
    CMPIStatus status = kOk;
    if (fault.Stops(&status)) return status;
    if (named == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    const std::string_view name = named;
    if (!Passes(object, name)) return kOk;
    const PropertyDeclaration *declared = Declared(object, name);
    if (object.declaration != nullptr && declared == nullptr) return {CMPI_RC_ERR_NO_SUCH_PROPERTY, nullptr};
    std::optional<Value> given = FromCmpi(value, type);
    if (!given || (declared != nullptr && !given->IsNull() && !Fits(declared->type, type)))
        return {CMPI_RC_ERR_TYPE_MISMATCH, nullptr};
    if (given->IsNull() && declared != nullptr) given->type = declared->type;
    std::vector<NamedValue> &properties = object.value.Mutable().properties;
    const auto known = std::find_if(properties.begin(), properties.end(),
                                    [&](const NamedValue &property) { return SameName(property.name, name); });
    if (known != properties.end())
        known->value = *std::move(given);
    else
        properties.push_back({declared != nullptr ? declared->name : named, *std::move(given)});
    return status;
}

CMPIObjectPath *GetObjectPath(const CMPIInstance *instance, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::GetObjectPath, &*object.value->path});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    return Lend(std::make_unique<ObjectPathObject>(object.core, Shared<ObjectPath>(object.value->path.Share())),
                object.fromUpcall);
}

// What the filter does not let pass goes at once, and what is set later is dropped without a word.
CMPIStatus SetPropertyFilter(const CMPIInstance *instance, const char **properties, const char **keys) {
    auto &object = ObjectOf<InstanceObject>(instance);
    object.filter = ListOf(properties);
    if (!object.filter) return kOk;
    if (const auto more = ListOf(keys)) object.filter->insert(object.filter->end(), more->begin(), more->end());
    std::vector<NamedValue> left;
    for (const Name &name : NamesOf(object))
        if (Passes(object, name)) left.push_back({name, *ValueOf(object, name)});
    object.value.Mutable().properties = std::move(left);
    object.value.Mutable().othersAreNull = false;
    object.value.Mutable().keysAsInPath = false;
    return kOk;
}

CMPIStatus SetObjectPath(const CMPIInstance *instance, const CMPIObjectPath *path) {
    auto &object = ObjectOf<InstanceObject>(instance);
    const ObjectPath &given = *ObjectOf<ObjectPathObject>(path).value;
    if (!SameName(given.className, object.value->path->className)) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    if (object.declaration != nullptr) CopyKeys(object.value.Mutable(), *object.declaration, nullptr);
    object.value.Mutable().path = given;
    return kOk;
}

} // namespace

const Value *KeyAsProperty(const Instance &instance, const PropertyDeclaration &declared) {
    if (!instance.keysAsInPath || !declared.key) return nullptr;
    const Value *key = instance.path->Key(declared.name);
    return key != nullptr && Fits(declared.type, key->type) ? key : nullptr;
}

void CopyKeys(Instance &instance, const ClassDeclaration &declaration, PropertyList listed) {
    if (!instance.keysAsInPath) return;
    for (const NamedValue &key : instance.path->keys) {
        const PropertyDeclaration *declared = declaration.Property(key.name);
        if (declared == nullptr || !IsListed(listed, key.name) || instance.Property(key.name) != nullptr) continue;
        if (const Value *value = KeyAsProperty(instance, *declared))
            instance.properties.push_back({declared->name, *value});
    }
    instance.keysAsInPath = false;
}

const CMPIInstanceFT kInstanceTable = {
    100,
    ReleaseObject<InstanceObject>,
    Clone,
    GetProperty,
    GetPropertyAt,
    GetPropertyCount,
    SetProperty,
    GetObjectPath,
    SetPropertyFilter,
    SetObjectPath,
};

} // namespace cim
