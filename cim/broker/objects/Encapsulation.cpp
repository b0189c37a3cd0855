// What makes encapsulated objects and tells about them.
#include "cim/broker/faults/FaultPoint.h"
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/DateTime.h"
#include "cim/broker/objects/Objects.h"
#include "cim/broker/objects/Tables.h"

#include <ctime>

namespace cim {
namespace {

constexpr std::size_t kUsualProperties = 12; // that are set

CMPIInstance *NewInstance(const CMPIBroker *broker, const CMPIObjectPath *path, CMPIStatus *status) {
    Core &core = CoreOf(broker);
    auto *const source = path != nullptr ? &ObjectOf<ObjectPathObject>(path) : nullptr;
    const FaultPoint fault(core, {Operation::NewInstance, source != nullptr ? &*source->value : nullptr});
    if (fault.Stops(status)) return nullptr;
    Set(status, source != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
    if (source == nullptr) return nullptr;
    const bool known = source->Declaration() != nullptr;
    Instance instance{ShareOf(*source), {}, known, known && !core.config.unkind.keysOnlyInPaths};
    instance.properties.reserve(kUsualProperties);
    return Lend(std::make_unique<InstanceObject>(core, Shared<Instance>(std::move(instance)), source->Declaration()));
}

CMPIObjectPath *NewObjectPath(const CMPIBroker *broker, const char *nameSpace, const char *className,
                              CMPIStatus *status) {
    Core &core = CoreOf(broker);
    ObjectPath path;
    if (nameSpace != nullptr) path.nameSpace = nameSpace;
    if (className != nullptr) path.className = className;
    const FaultPoint fault(core, {Operation::NewObjectPath, &path});
    if (fault.Stops(status)) return nullptr;
    Set(status, CMPI_RC_OK);
    return Lend(std::make_unique<ObjectPathObject>(core, Shared<ObjectPath>(std::move(path))));
}

CMPIString *NewString(const CMPIBroker *broker, const char *text, CMPIStatus *status) {
    Core &core = CoreOf(broker);
    const FaultPoint fault(core, {Operation::NewString});
    if (fault.Stops(status)) return fault.WantsEmpty() ? LendString(core, "") : nullptr;
    Set(status, CMPI_RC_OK);
    return LendString(core, text != nullptr ? std::optional<std::string>(text) : std::nullopt);
}

CMPIArray *NewArray(const CMPIBroker *broker, CMPICount size, CMPIType type, CMPIStatus *status) {
    Core &core = CoreOf(broker);
    const CMPIType element = ElementType(type) == CMPI_chars ? CMPI_string : ElementType(type);
    const FaultPoint fault(core, {Operation::NewArray});
    if (fault.Stops(status))
        return fault.WantsEmpty() ? Lend(std::make_unique<ArrayObject>(core, element, Value::Elements())) : nullptr;
    Set(status, CMPI_RC_OK);
    auto array = std::make_unique<ArrayObject>(core, element, Value::Elements(size, Value::Null(element)));
    array->madeOfChars = ElementType(type) == CMPI_chars;
    return Lend(std::move(array));
}

CMPIDateTime *NewDateTimeFromBinary(const CMPIBroker *broker, CMPIUint64 microseconds, CMPIBoolean interval,
                                    CMPIStatus *status) {
    Set(status, CMPI_RC_OK);
    return LendDateTime(CoreOf(broker), DateTimeText(microseconds, interval != 0));
}

CMPIDateTime *NewDateTime(const CMPIBroker *broker, CMPIStatus *status) {
    return NewDateTimeFromBinary(broker, static_cast<CMPIUint64>(std::time(nullptr)) * 1000000, 0, status);
}

CMPIDateTime *NewDateTimeFromChars(const CMPIBroker *broker, const char *text, CMPIStatus *status) {
    const bool valid = text != nullptr && IsDateTimeText(text);
    Set(status, valid ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
    return valid ? LendDateTime(CoreOf(broker), text) : nullptr;
}

CMPIBoolean ClassPathIsA(const CMPIBroker *broker, const CMPIObjectPath *path, const char *className,
                         CMPIStatus *status) {
    Core &core = CoreOf(broker);
    const ObjectPath *value = path != nullptr ? &*ObjectOf<ObjectPathObject>(path).value : nullptr;
    const FaultPoint fault(core, {Operation::ClassPathIsA, value});
    if (fault.Stops(status)) return 0;
    const bool valid = value != nullptr && className != nullptr;
    Set(status, valid ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
    return valid && core.classes.IsA(value->className, className) ? 1 : 0;
}

// The type of an object tells by its table: all handles begin alike.
const struct {
    const void *table;
    const char *name;
} kHandleTypes[] = {
    {&kInstanceTable, "CMPIInstance"}, {&kObjectPathTable, "CMPIObjectPath"},   {&kStringTable, "CMPIString"},
    {&kArrayTable, "CMPIArray"},       {&kEnumerationTable, "CMPIEnumeration"}, {&kResultTable, "CMPIResult"},
    {ContextTable(), "CMPIContext"},
};

const char *TypeOf(const void *object) {
    const void *table = object != nullptr ? static_cast<const CMPIString *>(object)->ft : nullptr;
    for (const auto &type : kHandleTypes)
        if (type.table == table) return type.name;
    return nullptr;
}

CMPIString *GetType(const CMPIBroker *broker, const void *object, CMPIStatus *status) {
    const char *type = TypeOf(object);
    Set(status, type != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
    return type != nullptr ? LendString(CoreOf(broker), type) : nullptr;
}

CMPIBoolean IsOfType(const CMPIBroker *, const void *object, const char *wanted, CMPIStatus *status) {
    const char *type = TypeOf(object);
    Set(status, type != nullptr && wanted != nullptr ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
    return type != nullptr && wanted != nullptr && std::string_view(type) == wanted ? 1 : 0;
}

// For log lines: a path as text, an instance as its path, anything else as its type.
CMPIString *ToString(const CMPIBroker *broker, const void *object, CMPIStatus *status) {
    const char *type = TypeOf(object);
    const void *table = type != nullptr ? static_cast<const CMPIString *>(object)->ft : nullptr;
    if (table == &kObjectPathTable) {
        const auto *path = static_cast<const CMPIObjectPath *>(object);
        return path->ft->toString(path, status);
    }
    if (table == &kInstanceTable) {
        Set(status, CMPI_RC_OK);
        return LendPathText(CoreOf(broker),
                            ObjectOf<InstanceObject>(static_cast<const CMPIInstance *>(object)).value->path);
    }
    if (table == &kStringTable) {
        Set(status, CMPI_RC_OK);
        return LendString(CoreOf(broker), ObjectOf<StringObject>(static_cast<const CMPIString *>(object)).text);
    }
    return GetType(broker, object, status);
}

// No part of this broker: methods, queries, messages.

CMPIArgs *NewArgs(const CMPIBroker *, CMPIStatus *status) {
    Set(status, CMPI_RC_ERR_NOT_SUPPORTED);
    return nullptr;
}

CMPISelectExp *NewSelectExp(const CMPIBroker *, const char *, const char *, CMPIArray **, CMPIStatus *status) {
    Set(status, CMPI_RC_ERR_NOT_SUPPORTED);
    return nullptr;
}

// NOLINTNEXTLINE(cert-dcl50-cpp): CMPI's table has it so.
CMPIString *GetMessage(const CMPIBroker *, const char *, const char *, CMPIStatus *status, CMPICount, ...) {
    Set(status, CMPI_RC_ERR_NOT_SUPPORTED);
    return nullptr;
}

template <class Level> CMPIStatus NoMessage(const CMPIBroker *, Level, const char *, const char *, const CMPIString *) {
    return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
}

} // namespace

const CMPIBrokerEncFT kEncapsulationTable = {
    100,
    NewInstance,
    NewObjectPath,
    NewArgs,
    NewString,
    NewArray,
    NewDateTime,
    NewDateTimeFromBinary,
    NewDateTimeFromChars,
    NewSelectExp,
    ClassPathIsA,
    ToString,
    IsOfType,
    GetType,
    GetMessage,
    NoMessage<CMPISeverity>,
    NoMessage<CMPILevel>,
};

} // namespace cim
