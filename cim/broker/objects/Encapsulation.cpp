// What makes encapsulated objects, and CMPI 2.0's marks, which free them.
#include "cim/broker/objects/Convert.h"
#include "cim/broker/objects/Objects.h"

namespace cim {
namespace {

constexpr std::size_t kUsualProperties = 12; // that are set

CMPIInstance *NewInstance(const CMPIBroker *broker, const CMPIObjectPath *path, CMPIStatus *status) {
    Core &core = CoreOf(broker);
    auto *const source = path != nullptr ? &ObjectOf<ObjectPathObject>(path) : nullptr;
    const FaultPoint fault(core, {Operation::NewInstance, source != nullptr ? source->Path() : nullptr});
    if (fault.Stops(status)) return nullptr;
    if (source == nullptr) return Set(status, CMPI_RC_ERR_INVALID_PARAMETER), nullptr;
    const ClassDeclaration *declaration = source->declaration;
    Instance instance{ShareOf(*source), {}, declaration != nullptr};
    instance.properties.reserve(kUsualProperties);
    if (declaration != nullptr && !core.config.unkind.keysOnlyInPaths)
        for (const NamedValue &key : instance.path->keys) {
            const PropertyDeclaration *declared = declaration->Property(key.name);
            if (declared != nullptr && declared->key && Fits(declared->type, key.value.type))
                instance.properties.push_back({declared->name, key.value});
        }
    return Lend(std::make_unique<InstanceObject>(core, Shared<Instance>(std::move(instance)), declaration));
}

CMPIObjectPath *NewObjectPath(const CMPIBroker *broker, const char *nameSpace, const char *className,
                              CMPIStatus *status) {
    Core &core = CoreOf(broker);
    ObjectPath path;
    if (nameSpace != nullptr) path.nameSpace = nameSpace;
    if (className != nullptr) path.className = className;
    const FaultPoint fault(core, {Operation::NewObjectPath, &path});
    if (fault.Stops(status)) return nullptr;
    const ClassDeclaration *declaration = core.classes.Find(path.className);
    return Lend(std::make_unique<ObjectPathObject>(core, Shared<ObjectPath>(std::move(path)), declaration));
}

CMPIString *NewString(const CMPIBroker *broker, const char *text, CMPIStatus *status) {
    const FaultPoint fault(CoreOf(broker), {Operation::NewString});
    return LendString(fault, CoreOf(broker), status,
                      text != nullptr ? std::make_optional<std::string>(text) : std::nullopt);
}

CMPIArray *NewArray(const CMPIBroker *broker, CMPICount size, CMPIType type, CMPIStatus *status) {
    const FaultPoint fault(CoreOf(broker), {Operation::NewArray});
    const bool stopped = fault.Stops(status);
    if (stopped && !fault.WantsEmpty()) return nullptr;
    const bool ofChars = ElementType(type) == CMPI_chars;
    const CMPIType element = ofChars ? CMPI_string : ElementType(type);
    auto array = std::make_unique<ArrayObject>(CoreOf(broker), element,
                                               Value::Elements(stopped ? 0 : size, Value::Null(element)));
    array->madeOfChars = ofChars;
    return Lend(std::move(array));
}

CMPIDateTime *NewDateTimeFromChars(const CMPIBroker *broker, const char *text, CMPIStatus *status) {
    const bool valid = text != nullptr && IsDateTimeText(text);
    Set(status, valid ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
    return valid ? LendDateTime(CoreOf(broker), text) : nullptr;
}

CMPIBoolean ClassPathIsA(const CMPIBroker *broker, const CMPIObjectPath *path, const char *className,
                         CMPIStatus *status) {
    Core &core = CoreOf(broker);
    const ObjectPath *value = path != nullptr ? ObjectOf<ObjectPathObject>(path).Path() : nullptr;
    const FaultPoint fault(core, {Operation::ClassPathIsA, value});
    if (fault.Stops(status)) return 0;
    if (value == nullptr || className == nullptr) return Set(status, CMPI_RC_ERR_INVALID_PARAMETER), 0;
    return core.classes.IsA(value->className, className) ? 1 : 0;
}

CMPIGcStat *Mark(const CMPIBroker *broker, CMPIStatus *status) {
    Core &core = CoreOf(broker);
    Threads &mine = Threads::Mine();
    const Layer *top = mine.Top(core);
    const std::shared_ptr<Layer> layer = mine.Push(core, Layer::Kind::Mark, top != nullptr ? top->running : nullptr);
    core.Keep(layer);
    Set(status, CMPI_RC_OK);
    return layer.get();
}

// Frees what was made since the mark, also between marks that are nested in it and were not released.
CMPIStatus Release(const CMPIBroker *, const CMPIGcStat *mark) {
    return {Threads::Mine().PopMark(mark) ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER, nullptr};
}

} // namespace

const CMPIBrokerEncFT kEncapsulationTable = {
    100,
    NewInstance,
    NewObjectPath,
    kNotSupported, // newArgs
    NewString,
    NewArray,
    kNotSupported, // newDateTime
    kNotSupported, // newDateTimeFromBinary
    NewDateTimeFromChars,
    kNotSupported, // newSelectExp
    ClassPathIsA,
    kNotSupported, // toString
    kNotSupported, // isOfType
    kNotSupported, // getType
    kNotSupported, // getMessage
    kNotSupported, // logMessage
    kNotSupported, // trace
};

// Allocates nothing: null is an answer that providers are prepared for.
const CMPIBrokerMemFT kMemoryTable = {
    100,           Mark,          Release,       kNotSupported, kNotSupported,
    kNotSupported, kNotSupported, kNotSupported, kNotSupported, kNotSupported,
    kNotSupported, kNotSupported, kNotSupported, kNotSupported, kNotSupported,
};

} // namespace cim
