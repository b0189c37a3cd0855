#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

#include <cstdio>
#include <cstdlib>

namespace cim {
namespace {

constexpr std::size_t kUsualKeys = 4; // of devices and software

CMPIStatus SetNameSpace(const CMPIObjectPath *path, const char *nameSpace) {
    ObjectOf<ObjectPathObject>(path).value.Mutable().nameSpace = nameSpace != nullptr ? nameSpace : "";
    return kOk;
}

template <std::string ObjectPath::*Member, Operation Name>
CMPIString *GetText(const CMPIObjectPath *path, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    return LendString(FaultPoint(object.core, {Name, object.Path()}), object.core, status, object.Path()->*Member);
}

CMPIStatus AddKey(const CMPIObjectPath *path, const char *named, const CMPIValue *value, CMPIType type) {
    auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Operation::AddKey, object.Path()});
    CMPIStatus status;
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
    const PropertyDeclaration *declared = object.declaration != nullptr ? object.declaration->Property(name) : nullptr;
    const bool known = declared != nullptr && declared->name == name; // the class's text costs nothing
    if (keys.empty()) keys.reserve(kUsualKeys);
    NamedValue &fresh = keys.emplace_back();
    fresh.name = known ? declared->name : named;
    fresh.value = *std::move(key);
    return status;
}

CMPIData KeyData(const ObjectPathObject &object, const Value &key) {
    CMPIData data = ToCmpi(object.core, key, object.fromUpcall);
    data.state = static_cast<CMPIValueState>(data.state | CMPI_keyValue);
    return data;
}

CMPIData GetKey(const CMPIObjectPath *path, const char *name, CMPIStatus *status) {
    const auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Operation::GetKey, object.Path()});
    CMPIData data = Blank(CMPI_null, CMPI_nullValue);
    if (fault.Stops(status)) return data;
    const Value *key = name != nullptr ? object.value->Key(name) : nullptr;
    data = key != nullptr ? KeyData(object, *key) : Missing(status, CMPI_RC_ERR_NOT_FOUND);
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

// Too much for an unkind broker when the text is long.
CMPIString *ToString(const CMPIObjectPath *path, CMPIStatus *status) {
    constexpr std::size_t kRoom = 4096; // with the null at the end
    const auto &object = ObjectOf<ObjectPathObject>(path);
    const FaultPoint fault(object.core, {Operation::ToString, object.Path()});
    std::string text = object.value->ToString();
    if (object.core.config.unkind.shortPathText && text.size() >= kRoom) {
        std::fprintf(stderr, "broker: toString of a path of %zu bytes, %.60s...\n", text.size(), text.c_str());
        std::abort();
    }
    return LendString(fault, object.core, status, std::move(text));
}

} // namespace

const CMPIObjectPathFT kObjectPathTable = {
    100,
    ReleaseObject<ObjectPathObject>,
    CloneObject<ObjectPathObject>,
    SetNameSpace,
    GetText<&ObjectPath::nameSpace, Operation::GetNameSpace>,
    kNotSupported, // setHostname
    kNotSupported, // getHostname
    kNotSupported, // setClassName
    GetText<&ObjectPath::className, Operation::GetClassName>,
    AddKey,
    GetKey,
    GetKeyAt,
    GetKeyCount,
    kNotSupported, // setNameSpaceFromObjectPath
    kNotSupported, // setHostAndNameSpaceFromObjectPath
    kNotSupported, // getClassQualifier
    kNotSupported, // getPropertyQualifier
    kNotSupported, // getMethodQualifier
    kNotSupported, // getParameterQualifier
    ToString,
};

} // namespace cim
