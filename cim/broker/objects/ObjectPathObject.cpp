#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

#include <cstdio>
#include <cstdlib>

namespace cim {
namespace {

constexpr std::size_t kUsualKeys = 4; // of devices and software

CMPIObjectPath *Clone(const CMPIObjectPath *from, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(from);
    const FaultPoint fault(object.core, {Operation::Clone, &*object.value});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    return Cloned(std::make_unique<ObjectPathObject>(object.core, Shared<ObjectPath>(object.value.Share())));
}

template <std::string ObjectPath::*Member> CMPIStatus SetText(const CMPIObjectPath *path, const char *text) {
    ObjectOf<ObjectPathObject>(path).value.Mutable().*Member = text != nullptr ? text : "";
    return kOk;
}

CMPIStatus SetClassName(const CMPIObjectPath *path, const char *name) {
    ObjectOf<ObjectPathObject>(path).SetClassName(name != nullptr ? name : "");
    return kOk;
}

template <std::string ObjectPath::*Member, Operation Name>
CMPIString *GetText(const CMPIObjectPath *path, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Name, &*object.value});
    if (fault.Stops(status)) return fault.WantsEmpty() ? LendString(object.core, "") : nullptr;
    Set(status, CMPI_RC_OK);
    return LendString(object.core, (*object.value).*Member);
}

// Without a host: a string whose characters are null.
CMPIString *GetHostname(const CMPIObjectPath *path, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    Set(status, CMPI_RC_OK);
    const std::string &host = object.value->host;
    return LendString(object.core, host.empty() ? std::nullopt : std::make_optional(host));
}

CMPIStatus SetNameSpaceFrom(const CMPIObjectPath *path, const CMPIObjectPath *source) {
    ObjectOf<ObjectPathObject>(path).value.Mutable().nameSpace = ObjectOf<ObjectPathObject>(source).value->nameSpace;
    return kOk;
}

CMPIStatus SetHostAndNameSpaceFrom(const CMPIObjectPath *path, const CMPIObjectPath *source) {
    ObjectOf<ObjectPathObject>(path).value.Mutable().host = ObjectOf<ObjectPathObject>(source).value->host;
    return SetNameSpaceFrom(path, source);
}

CMPIStatus AddKey(const CMPIObjectPath *path, const char *named, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Operation::AddKey, &*object.value});
    CMPIStatus status = kOk;
    if (fault.Stops(&status)) return status;
    std::optional<Value> key = FromCmpi(value, type);
    if (named == nullptr || !key || key->IsArray()) return {CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
    const std::string_view name = named;
    std::vector<NamedValue> &keys = object.value.Mutable().keys;
    const auto added = std::find_if(keys.begin(), keys.end(), [&](const auto &k) { return SameName(k.name, name); });
    if (added != keys.end()) {
        added->value = *std::move(key);
        return status;
    }
    const ClassDeclaration *declaration = object.Declaration();
    const PropertyDeclaration *declared = declaration != nullptr ? declaration->Property(name) : nullptr;
    const bool known = declared != nullptr && declared->name == name; // the class's text costs nothing
    if (keys.empty()) keys.reserve(kUsualKeys);
    keys.push_back({known ? declared->name : named, *std::move(key)});
    return status;
}

CMPIData KeyData(const ObjectPathObject &object, const Value &key) {
    CMPIData data = ToCmpi(object.core, key, object.fromUpcall);
    data.state = static_cast<CMPIValueState>(data.state | CMPI_keyValue);
    return data;
}

CMPIData GetKey(const CMPIObjectPath *path, const char *name, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Operation::GetKey, &*object.value});
    CMPIData data = Blank(CMPI_null, CMPI_nullValue);
    if (fault.Stops(status)) return data;
    const Value *key = name != nullptr ? object.value->Key(name) : nullptr;
    if (key != nullptr) {
        Set(status, CMPI_RC_OK);
        data = KeyData(object, *key);
    } else {
        data = Missing(status, CMPI_RC_ERR_NOT_FOUND);
    }
    fault.Rewrite(name, &data, status);
    return data;
}

CMPIData GetKeyAt(const CMPIObjectPath *path, CMPICount index, CMPIString **name, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    if (index >= object.value->keys.size()) return Missing(status, CMPI_RC_ERR_NOT_FOUND);
    const NamedValue &key = object.value->keys[index];
    Set(status, CMPI_RC_OK);
    if (name != nullptr) *name = LendString(object.core, key.name);
    return KeyData(object, key.value);
}

CMPICount GetKeyCount(const CMPIObjectPath *path, CMPIStatus *status) {
    Set(status, CMPI_RC_OK);
    return static_cast<CMPICount>(ObjectOf<ObjectPathObject>(path).value->keys.size());
}

// Qualifiers are not kept.
template <class... Names> CMPIData NoQualifier(const CMPIObjectPath *, Names..., CMPIStatus *status) {
    return Missing(status, CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIString *ToString(const CMPIObjectPath *path, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Operation::ToString, &*object.value});
    if (fault.Stops(status)) return fault.WantsEmpty() ? LendString(object.core, "") : nullptr;
    Set(status, CMPI_RC_OK);
    return LendPathText(object.core, *object.value);
}

} // namespace

CMPIString *LendPathText(Core &core, const ObjectPath &path) {
    constexpr std::size_t kRoom = 4096; // with the null at the end
    std::string text = path.ToString();
    if (core.config.unkind.shortPathText && text.size() >= kRoom) {
        std::fprintf(stderr, "broker: toString of a path of %zu bytes, %.60s...\n", text.size(), text.c_str());
        std::abort();
    }
    return LendString(core, std::move(text));
}

const ClassDeclaration *ObjectPathObject::Declaration() const {
    const ClassDeclaration *known = declaration.load(std::memory_order_relaxed);
    if (known == nullptr) declaration.store(known = core.classes.Find(value->className), std::memory_order_relaxed);
    return known;
}

void ObjectPathObject::SetClassName(const char *name) {
    value.Mutable().className = name;
    declaration.store(nullptr, std::memory_order_relaxed);
}

const CMPIObjectPathFT kObjectPathTable = {
    100,
    ReleaseObject<ObjectPathObject>,
    Clone,
    SetText<&ObjectPath::nameSpace>,
    GetText<&ObjectPath::nameSpace, Operation::GetNameSpace>,
    SetText<&ObjectPath::host>,
    GetHostname,
    SetClassName,
    GetText<&ObjectPath::className, Operation::GetClassName>,
    AddKey,
    GetKey,
    GetKeyAt,
    GetKeyCount,
    SetNameSpaceFrom,
    SetHostAndNameSpaceFrom,
    NoQualifier<const char *>,
    NoQualifier<const char *, const char *>,
    NoQualifier<const char *, const char *>,
    NoQualifier<const char *, const char *, const char *>,
    ToString,
};

} // namespace cim
