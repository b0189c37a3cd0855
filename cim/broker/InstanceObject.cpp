#include "cim/broker/Convert.h"
#include "cim/broker/FaultPoint.h"
#include "cim/broker/Objects.h"

#include <algorithm>

namespace cim {
namespace {

constexpr CMPIStatus kOk{CMPI_RC_OK, nullptr};

// `place` is where it stands as a rule: where its class declares it.
NamedValue *FindProperty(std::vector<NamedValue> &properties, std::string_view name, std::size_t place) {
    if (place < properties.size() && SameName(properties[place].name, name)) return &properties[place];
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [&](const NamedValue &property) { return SameName(property.name, name); });
    return found != properties.end() ? &*found : nullptr;
}

// Whether the instance's filter lets a property be: it is listed, or a key of the class.
bool Passes(const InstanceObject &object, std::string_view name) {
    if (!object.filter) return true;
    if (std::any_of(object.filter->begin(), object.filter->end(),
                    [&](const std::string &listed) { return SameName(listed, name); }))
        return true;
    const PropertyDeclaration *declared = object.declaration != nullptr ? object.declaration->Property(name) : nullptr;
    return declared != nullptr && declared->key;
}

CMPIInstance *Clone(const CMPIInstance *from, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(from);
    const FaultPoint fault(object.core, {Operation::Clone, &object.value->path});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    auto clone = std::make_unique<InstanceObject>(object.core, Shared<Instance>(object.value.Share()));
    clone->filter = object.filter;
    return Cloned(std::move(clone));
}

CMPIData GetProperty(const CMPIInstance *instance, const char *name, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::GetProperty, &object.value->path});
    CMPIData data = Blank(CMPI_null, CMPI_nullValue);
    if (fault.Stops(status)) return data;
    const Value *property = name != nullptr ? object.value->Property(name) : nullptr;
    if (property != nullptr) {
        Set(status, CMPI_RC_OK);
        data = ToCmpi(object.core, *property, object.fromUpcall);
    } else {
        data = Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    }
    fault.Rewrite(name, &data, status);
    return data;
}

CMPIData GetPropertyAt(const CMPIInstance *instance, CMPICount index, CMPIString **name, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    if (index >= object.value->properties.size()) return Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    const NamedValue &property = object.value->properties[index];
    Set(status, CMPI_RC_OK);
    if (name != nullptr) *name = LendString(object.core, property.name);
    return ToCmpi(object.core, property.value, object.fromUpcall);
}

CMPICount GetPropertyCount(const CMPIInstance *instance, CMPIStatus *status) {
    Set(status, CMPI_RC_OK);
    return static_cast<CMPICount>(ObjectOf<InstanceObject>(instance).value->properties.size());
}

CMPIStatus SetProperty(const CMPIInstance *instance, const char *name, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::SetProperty, &object.value->path});
    CMPIStatus status = kOk;
    if (fault.Stops(&status)) return status;
    if (name == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    if (!Passes(object, name)) return kOk;
    const PropertyDeclaration *declared = object.declaration != nullptr ? object.declaration->Property(name) : nullptr;
    if (object.declaration != nullptr && declared == nullptr) return {CMPI_RC_ERR_NO_SUCH_PROPERTY, nullptr};
    std::optional<Value> given = FromCmpi(value, type);
    if (!given || (declared != nullptr && !given->IsNull() && !Fits(declared->type, type)))
        return {CMPI_RC_ERR_TYPE_MISMATCH, nullptr};
    if (given->IsNull() && declared != nullptr) given->type = declared->type;
    std::vector<NamedValue> &properties = object.value.Mutable().properties;
    const auto place = declared != nullptr ? declared - object.declaration->properties.data() : 0;
    if (NamedValue *known = FindProperty(properties, name, static_cast<std::size_t>(place)))
        known->value = *std::move(given);
    else
        properties.push_back({declared != nullptr ? declared->name : name, *std::move(given)});
    return status;
}

CMPIObjectPath *GetObjectPath(const CMPIInstance *instance, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::GetObjectPath, &object.value->path});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    return Lend(std::make_unique<ObjectPathObject>(object.core, Shared<ObjectPath>(ObjectPath(object.value->path))),
                object.fromUpcall);
}

// What the filter does not let pass goes at once, and what is set later is dropped without a word.
CMPIStatus SetPropertyFilter(const CMPIInstance *instance, const char **properties, const char **keys) {
    auto &object = ObjectOf<InstanceObject>(instance);
    object.filter = ListOf(properties);
    if (!object.filter) return kOk;
    if (const auto more = ListOf(keys)) object.filter->insert(object.filter->end(), more->begin(), more->end());
    std::vector<NamedValue> &all = object.value.Mutable().properties;
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const NamedValue &property) { return !Passes(object, property.name); }),
              all.end());
    return kOk;
}

CMPIStatus SetObjectPath(const CMPIInstance *instance, const CMPIObjectPath *path) {
    auto &object = ObjectOf<InstanceObject>(instance);
    const ObjectPath &given = *ObjectOf<ObjectPathObject>(path).value;
    if (!SameName(given.className, object.value->path.className)) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    object.value.Mutable().path = given;
    return kOk;
}

} // namespace

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
