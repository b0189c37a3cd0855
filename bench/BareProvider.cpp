#include "bench/BareProvider.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <strings.h>

namespace bench {
namespace {

constexpr CMPIStatus kOk = {CMPI_RC_OK, nullptr};

// A value as it is handed over: ready-made but for arrays, which are the broker's objects.
struct Constant {
    const char *name;
    CMPIType type;
    CMPIValue value; // of an array: its one element
    const char *text = nullptr;
};

struct BareInstance {
    std::vector<Constant> keys, properties;
};

struct Served {
    std::deque<std::string> texts; // what the constants point at
    std::map<std::string, std::vector<BareInstance>> classes;
    const CMPIBroker *broker = nullptr;
    CMPIInstanceMI mi = {};
};

std::mutex mutex;
std::map<const CMPIBroker *, std::unique_ptr<Served>> served; // guarded by mutex; an entry's inside by its broker's use

Served &Of(const CMPIBroker *broker) {
    const std::lock_guard lock(mutex);
    auto &entry = served[broker];
    if (entry == nullptr) {
        entry = std::make_unique<Served>();
        entry->broker = broker;
    }
    return *entry;
}

Constant Frozen(Served &store, const std::string &name, const cim::Value &value) {
    Constant constant = {store.texts.emplace_back(name).c_str(), value.type, {}};
    const cim::Value *scalar = &value;
    if (const auto *elements = value.As<cim::Value::Elements>()) {
        if (elements->size() != 1) throw std::runtime_error(name + " is no array of one element");
        scalar = &elements->front();
    }
    if (const auto *text = scalar->As<std::string>()) {
        constant.text = store.texts.emplace_back(*text).c_str();
        if (!value.IsArray()) constant.type = CMPI_chars;
    } else if (const auto *number = scalar->As<std::uint64_t>()) {
        constant.value.uint64 = *number; // narrower ones are its low bytes
    } else if (const auto *flag = scalar->As<bool>()) {
        constant.value.boolean = *flag ? 1 : 0;
    } else {
        throw std::runtime_error(name + " is of a type that the bare provider does not hand over");
    }
    return constant;
}

BareInstance Frozen(Served &store, const cim::Instance &instance) {
    BareInstance bare;
    for (const cim::NamedValue &key : instance.path->keys) bare.keys.push_back(Frozen(store, key.name, key.value));
    for (const cim::NamedValue &property : instance.properties)
        if (!property.value.IsNull()) bare.properties.push_back(Frozen(store, property.name, property.value));
    return bare;
}

const CMPIValue *Chars(const char *text) { return reinterpret_cast<const CMPIValue *>(text); }

void SetArray(const CMPIBroker *broker, CMPIInstance *instance, const Constant &constant) {
    const auto element = static_cast<CMPIType>(constant.type & ~CMPI_ARRAY);
    CMPIValue array = {};
    array.array = broker->eft->newArray(broker, 1, element, nullptr);
    array.array->ft->setElementAt(array.array, 0, &constant.value, element);
    instance->ft->setProperty(instance, constant.name, &array, constant.type);
}

void Return(const CMPIBroker *broker, const CMPIResult *results, const char *nameSpace, const char *className,
            const BareInstance &bare) {
    CMPIObjectPath *path = broker->eft->newObjectPath(broker, nameSpace, className, nullptr);
    for (const Constant &key : bare.keys) path->ft->addKey(path, key.name, Chars(key.text), key.type);
    CMPIInstance *instance = broker->eft->newInstance(broker, path, nullptr);
    for (const Constant &property : bare.properties) {
        if ((property.type & CMPI_ARRAY) != 0)
            SetArray(broker, instance, property);
        else
            instance->ft->setProperty(instance, property.name,
                                      property.text != nullptr ? Chars(property.text) : &property.value, property.type);
    }
    results->ft->returnInstance(results, instance);
}

CMPIStatus EnumerateInstances(CMPIInstanceMI *mi, const CMPIContext *, const CMPIResult *results,
                              const CMPIObjectPath *path, const char **) {
    const auto &store = *static_cast<const Served *>(mi->hdl);
    const CMPIString *className = path->ft->getClassName(path, nullptr);
    const CMPIString *nameSpace = path->ft->getNameSpace(path, nullptr);
    const char *name = className->ft->getCharPtr(className, nullptr);
    const char *space = nameSpace->ft->getCharPtr(nameSpace, nullptr);
    for (const auto &[known, instances] : store.classes)
        if (strcasecmp(known.c_str(), name) == 0)
            for (const BareInstance &bare : instances) Return(store.broker, results, space, known.c_str(), bare);
    results->ft->returnDone(results);
    return kOk;
}

CMPIStatus Cleanup(CMPIInstanceMI *, const CMPIContext *, CMPIBoolean) { return kOk; }

const CMPIInstanceMIFT kTable = {
    100, 100, "instanceBareProvider", Cleanup, nullptr, EnumerateInstances, nullptr, nullptr, nullptr, nullptr, nullptr,
};

} // namespace

CMPIInstanceMI *CreateBareInstanceMI(const CMPIBroker *broker, const CMPIContext *, CMPIStatus *) {
    Served &store = Of(broker);
    store.mi = {&store, &kTable};
    return &store.mi;
}

void ServeBare(const CMPIBroker *broker, const std::string &className, const std::vector<cim::Instance> &instances) {
    Served &store = Of(broker);
    std::vector<BareInstance> &list = store.classes[className];
    list.clear();
    for (const cim::Instance &instance : instances) list.push_back(Frozen(store, instance));
}

void Forget(const CMPIBroker *broker) {
    const std::lock_guard lock(mutex);
    served.erase(broker);
}

} // namespace bench
