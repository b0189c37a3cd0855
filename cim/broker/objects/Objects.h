// What stands behind each CMPI handle. A handle's hdl leads to its object, its ft to the one table of its type.
#pragma once

#include "cim/broker/objects/FaultPoint.h"
#include "cim/broker/objects/Threads.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cim {

// What providers return.
struct Results {
    std::vector<Instance> instances;
    std::vector<ObjectPath> paths;

    std::size_t Size() const { return instances.size() + paths.size(); }
};

constexpr CMPIStatus kOk{CMPI_RC_OK, nullptr};

extern const CMPIStringFT kStringTable;
extern const CMPIArrayFT kArrayTable;
extern const CMPIEnumerationFT kEnumerationTable;
extern const CMPIObjectPathFT kObjectPathTable;
extern const CMPIInstanceFT kInstanceTable;
extern const CMPIResultFT kResultTable;
const CMPIContextFT *ContextTable(); // what stands behind its last entry depends on the build

// Converts to any entry of a function table: what a table must have and this broker has not. Answers
// CMPI_RC_ERR_NOT_SUPPORTED, and null or zero for a value.
struct NotSupported {
    template <class Answer, class... Arguments> using Entry = Answer (*)(Arguments...);
    template <class Answer, class... Arguments> using VariadicEntry = Answer (*)(Arguments..., ...);

    template <class Answer, class... Arguments> constexpr operator Entry<Answer, Arguments...>() const {
        return Refuse<Answer, Arguments...>;
    }
    template <class Answer, class... Arguments> constexpr operator VariadicEntry<Answer, Arguments...>() const {
        return RefuseAnyNumber<Answer, Arguments...>;
    }

private:
    static void Tell(CMPIStatus *status) { Set(status, CMPI_RC_ERR_NOT_SUPPORTED); }
    template <class Other> static void Tell(const Other &) {}
    template <class Answer, class... Arguments> static Answer Refuse(Arguments... arguments) {
        (Tell(arguments), ...);
        if constexpr (std::is_same_v<Answer, CMPIStatus>) return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
        if constexpr (std::is_same_v<Answer, CMPIData>) return Blank(CMPI_null, CMPI_badValue);
        return Answer();
    }
    // NOLINTNEXTLINE(cert-dcl50-cpp): CMPI's getMessage has it so.
    template <class Answer, class... Arguments> static Answer RefuseAnyNumber(Arguments... arguments, ...) {
        return Refuse<Answer, Arguments...>(arguments...);
    }
};
constexpr NotSupported kNotSupported;

template <class Handle, class Table> struct Encapsulated : BrokerObject {
    using HandleType = Handle;

    Encapsulated(Core &broker, const Table *table)
        : BrokerObject(broker), handle{static_cast<BrokerObject *>(this), table} {}

    Handle handle;
};

// The object behind a handle.
template <class T> T &ObjectOf(const typename T::HandleType *handle) {
    return *static_cast<T *>(static_cast<BrokerObject *>(handle->hdl));
}

// A value that several objects may look at, and that is copied by the first that changes its own.
template <class T> class Shared {
public:
    explicit Shared(T own) : value(std::make_shared<T>(std::move(own))), exclusive(true) {}
    explicit Shared(std::shared_ptr<const T> common) : value(std::move(common)), exclusive(false) {}

    const T &operator*() const { return *value; }
    const T *operator->() const { return value.get(); }
    T &Mutable() {
        if (!exclusive) *this = Shared(T(*value));
        return const_cast<T &>(*value); // made by this object and seen by nobody else
    }
    // For another object: the value itself when nobody can change it any more, else a copy.
    std::shared_ptr<const T> Share() const { return exclusive ? std::make_shared<T>(*value) : value; }
    // The value itself, which this object copies before it changes it again. Of an object that one thread has alone.
    const std::shared_ptr<const T> &Expose() {
        exclusive = false;
        return value;
    }

private:
    std::shared_ptr<const T> value;
    bool exclusive;
};

struct StringObject : Encapsulated<CMPIString, CMPIStringFT> {
    StringObject(Core &broker, std::optional<std::string> content)
        : Encapsulated(broker, &kStringTable), text(std::move(content)) {}
    auto Copy() const { return std::make_unique<StringObject>(core, text); }
    const std::optional<std::string> text; // none: its characters are null
};

struct ArrayObject : Encapsulated<CMPIArray, CMPIArrayFT> {
    ArrayObject(Core &broker, CMPIType type, Value::Elements values)
        : Encapsulated(broker, &kArrayTable), elementType(type), elements(std::move(values)) {}
    std::unique_ptr<ArrayObject> Copy() const;
    const CMPIType elementType;
    Value::Elements elements;
    bool madeOfChars = false; // with CMPI_chars as its type, for which elementType has CMPI_string
};

struct EnumerationObject : Encapsulated<CMPIEnumeration, CMPIEnumerationFT> {
    EnumerationObject(Core &broker, CMPIType type, Value::Elements values)
        : Encapsulated(broker, &kEnumerationTable), elementType(type), elements(std::move(values)) {}
    std::unique_ptr<EnumerationObject> Copy() const;
    const CMPIType elementType;
    const Value::Elements elements;
    std::size_t cursor = 0;
};

struct ObjectPathObject : Encapsulated<CMPIObjectPath, CMPIObjectPathFT> {
    ObjectPathObject(Core &broker, Shared<ObjectPath> path, const ClassDeclaration *known)
        : Encapsulated(broker, &kObjectPathTable), value(std::move(path)), declaration(known) {}
    ObjectPathObject(Core &broker, const Shared<ObjectPath> &path)
        : ObjectPathObject(broker, path, broker.classes.Find(path->className)) {}
    auto Copy() const {
        return std::make_unique<ObjectPathObject>(core, Shared<ObjectPath>(value.Share()), declaration);
    }
    const ObjectPath *Path() const override { return &*value; }

    Shared<ObjectPath> value;
    const ClassDeclaration *const declaration; // null for a class that the broker does not know
};

struct InstanceObject : Encapsulated<CMPIInstance, CMPIInstanceFT> {
    InstanceObject(Core &broker, Shared<Instance> instance, const ClassDeclaration *known)
        : Encapsulated(broker, &kInstanceTable), value(std::move(instance)), declaration(known) {}
    InstanceObject(Core &broker, const Shared<Instance> &instance)
        : InstanceObject(broker, instance, broker.classes.Find(instance->path->className)) {}
    std::unique_ptr<InstanceObject> Copy() const;
    const ObjectPath *Path() const override { return &*value->path; }

    Shared<Instance> value;
    const ClassDeclaration *const declaration; // null for a class that the broker does not know
    std::optional<std::vector<std::string>>
        filter; // once set: the properties that can be set, besides the class's keys
};

struct ContextObject : Encapsulated<CMPIContext, CMPIContextFT> {
    ContextObject(Core &broker, const Runner *whose, std::vector<NamedValue> values)
        : Encapsulated(broker, ContextTable()), provider(whose), entries(std::move(values)) {}
    const Runner *const provider; // null for the client's own code
    std::vector<NamedValue> entries;
    bool prepared = false;           // for a thread to attach
    std::shared_ptr<Layer> attached; // while a thread has it attached
};

struct ResultObject : Encapsulated<CMPIResult, CMPIResultFT> {
    ResultObject(Core &broker, Results &collected) : Encapsulated(broker, &kResultTable), results(collected) {}
    Results &results;
    std::vector<std::shared_ptr<const Instance>> instances; // the provider still has hold of them
};

// What stands behind an object, for another that keeps it as it is now. Several threads may ask one clone at once.
template <class T> auto ShareOf(T &object) {
    return object.life == BrokerObject::Life::Clone ? object.value.Share() : object.value.Expose();
}

// Lends an object to the calling thread.
template <class T> typename T::HandleType *Lend(std::unique_ptr<T> object, bool fromUpcall = false) {
    object->fromUpcall = fromUpcall;
    Threads::Mine().CurrentScope(object->core).Adopt(object.get());
    return &object.release()->handle;
}

// Hands an object to whoever calls for a clone.
template <class T> typename T::HandleType *Cloned(std::unique_ptr<T> object) {
    object->life = BrokerObject::Life::Clone;
    object->core.counts.clones.fetch_add(1, std::memory_order_relaxed);
    return &object.release()->handle;
}

template <class T> CMPIStatus ReleaseObject(typename T::HandleType *handle) {
    ObjectOf<T>(handle).Release();
    return kOk;
}

template <class T> typename T::HandleType *CloneObject(const typename T::HandleType *from, CMPIStatus *status) {
    const auto &object = ObjectOf<T>(from);
    const FaultPoint fault(object.core, {Operation::Clone, object.Path()});
    return fault.Stops(status) ? nullptr : Cloned(object.Copy());
}

CMPIString *LendString(Core &core, std::optional<std::string> text);
// Unless a fault stops it.
CMPIString *LendString(const FaultPoint &fault, Core &core, CMPIStatus *status, std::optional<std::string> text);
CMPIDateTime *LendDateTime(Core &core, std::string text);
const std::string &TextOf(const CMPIDateTime *dateTime);

} // namespace cim
