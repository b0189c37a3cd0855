#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

#include <algorithm>

namespace cim {
namespace {

const PropertyDeclaration *Declared(const InstanceObject &object, std::string_view name) {
    return object.declaration != nullptr ? object.declaration->Property(name) : nullptr;
}

// Whether the instance's filter lets a property be: it is listed, or a key of the class.
bool Passes(const InstanceObject &object, std::string_view name) {
    if (!object.filter) return true;
    const PropertyDeclaration *declared = Declared(object, name);
    return (declared != nullptr && declared->key) ||
           std::any_of(object.filter->begin(), object.filter->end(),
                       [&](const std::string &listed) { return SameName(listed, name); });
}

// What is set or null; none for what is missing.
std::optional<Value> ValueOf(const InstanceObject &object, std::string_view name) {
    if (const Value *known = object.value->Property(name)) return *known;
    const PropertyDeclaration *declared = object.value->othersAreNull ? Declared(object, name) : nullptr;
    return declared != nullptr ? std::make_optional(Value::Null(declared->type)) : std::nullopt;
}

CMPIData GetProperty(const CMPIInstance *instance, const char *name, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::GetProperty, object.Path()});
    CMPIData data = Blank(CMPI_null, CMPI_nullValue);
    if (fault.Stops(status)) return data;
    const std::optional<Value> value = name != nullptr ? ValueOf(object, name) : std::nullopt;
    data = value ? ToCmpi(object.core, *value, object.fromUpcall) : Missing(status, CMPI_RC_ERR_NO_SUCH_PROPERTY);
    fault.Rewrite(name, &data, status);
    return data;
}

CMPIStatus SetProperty(const CMPIInstance *instance, const char *named, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::SetProperty, object.Path()});
    CMPIStatus status;
    if (fault.Stops(&status)) return status;
    if (named == nullptr) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    const std::string_view name = named;
    if (!Passes(object, name)) return kOk;
    const std::vector<NamedValue> &before = object.value->properties;
    const auto isIt = [name](const NamedValue &property) { return SameName(property.name, name); };
    const auto place = static_cast<std::size_t>(std::find_if(before.begin(), before.end(), isIt) - before.begin());
    const bool known = place < before.size();
    // Providers set the keys of the path as well: brokers differ in whether the instance has them.
    if (known && IsText(before[place].value, value, type)) return status;
    const PropertyDeclaration *declared = Declared(object, name);
    if (object.declaration != nullptr && declared == nullptr) return {CMPI_RC_ERR_NO_SUCH_PROPERTY, nullptr};
    std::optional<Value> given = FromCmpi(value, type);
    if (!given || (declared != nullptr && !given->IsNull() && !Fits(declared->type, type)))
        return {CMPI_RC_ERR_TYPE_MISMATCH, nullptr};
    if (given->IsNull() && declared != nullptr) given->type = declared->type;
    std::vector<NamedValue> &properties = object.value.Mutable().properties;
    if (!known) properties.emplace_back().name = declared != nullptr ? declared->name : named;
    properties[place].value = *std::move(given);
    return status;
}

CMPIObjectPath *GetObjectPath(const CMPIInstance *instance, CMPIStatus *status) {
    const auto &object = ObjectOf<InstanceObject>(instance);
    const FaultPoint fault(object.core, {Operation::GetObjectPath, object.Path()});
    if (fault.Stops(status)) return nullptr;
    Shared<ObjectPath> path(object.value->path.Share());
    return Lend(std::make_unique<ObjectPathObject>(object.core, std::move(path), object.declaration),
                object.fromUpcall);
}

std::vector<std::string> ListOf(const char *const *names) {
    std::vector<std::string> list;
    for (; names != nullptr && *names != nullptr; ++names) list.emplace_back(*names);
    return list;
}

// What the filter does not let pass goes at once, and what is set later is dropped without a word.
CMPIStatus SetPropertyFilter(const CMPIInstance *instance, const char **properties, const char **keys) {
    auto &object = ObjectOf<InstanceObject>(instance);
    object.filter.reset();
    if (properties == nullptr) return kOk;
    std::vector<std::string> filter = ListOf(properties);
    for (std::string &key : ListOf(keys)) filter.push_back(std::move(key));
    object.filter = std::move(filter);
    std::vector<NamedValue> left;
    const auto keep = [&](const Name &name) {
        if (Passes(object, name)) left.push_back({name, *ValueOf(object, name)});
    };
    if (object.value->othersAreNull && object.declaration != nullptr) {
        for (const PropertyDeclaration &declared : object.declaration->properties) keep(declared.name);
    } else {
        for (const NamedValue &known : object.value->properties) keep(known.name);
    }
    Instance &value = object.value.Mutable();
    value.properties = std::move(left);
    value.othersAreNull = false;
    return kOk;
}

} // namespace

std::unique_ptr<InstanceObject> InstanceObject::Copy() const {
    auto copy = std::make_unique<InstanceObject>(core, Shared<Instance>(value.Share()));
    copy->filter = filter;
    return copy;
}

const CMPIInstanceFT kInstanceTable = {
    100,
    ReleaseObject<InstanceObject>,
    CloneObject<InstanceObject>,
    GetProperty,
    kNotSupported, // getPropertyAt
    kNotSupported, // getPropertyCount
    SetProperty,
    GetObjectPath,
    SetPropertyFilter,
    kNotSupported, // setObjectPath
};

} // namespace cim
