// What stands behind each CMPI handle. A handle's hdl leads to its object, its ft to the one table of its type.
#pragma once

#include "cim/broker/Core.h"
#include "cim/broker/classes/ClassTree.h"
#include "cim/broker/objects/Scope.h"
#include "cim/broker/objects/Threads.h"
#include "cim/broker/objects/Value.h"

#include <cmpift.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cim {

struct Results;

constexpr CMPIStatus kOk{CMPI_RC_OK, nullptr};

extern const CMPIStringFT kStringTable;
extern const CMPIArrayFT kArrayTable;
extern const CMPIEnumerationFT kEnumerationTable;
extern const CMPIObjectPathFT kObjectPathTable;
extern const CMPIInstanceFT kInstanceTable;
extern const CMPIResultFT kResultTable;
const CMPIContextFT *ContextTable(); // what stands behind its last entry depends on the build

template <class Handle, class Table> struct Encapsulated : Object {
    using HandleType = Handle;

    Encapsulated(Core &broker, const Table *table) : Object(broker), handle{static_cast<Object *>(this), table} {}

    Handle handle;
};

// The object behind a handle.
template <class T> T &ObjectOf(const typename T::HandleType *handle) {
    return *static_cast<T *>(static_cast<Object *>(handle->hdl));
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
    const std::optional<std::string> text; // none: its characters are null
};

struct ArrayObject : Encapsulated<CMPIArray, CMPIArrayFT> {
    ArrayObject(Core &broker, CMPIType type, Value::Elements values)
        : Encapsulated(broker, &kArrayTable), elementType(type), elements(std::move(values)) {}
    const CMPIType elementType;
    Value::Elements elements;
    bool madeOfChars = false; // with CMPI_chars as its type, for which elementType has CMPI_string
};

struct EnumerationObject : Encapsulated<CMPIEnumeration, CMPIEnumerationFT> {
    EnumerationObject(Core &broker, CMPIType type, Value::Elements values)
        : Encapsulated(broker, &kEnumerationTable), elementType(type), elements(std::move(values)) {}
    const CMPIType elementType;
    const Value::Elements elements;
    std::size_t cursor = 0;
};

struct ObjectPathObject : Encapsulated<CMPIObjectPath, CMPIObjectPathFT> {
    ObjectPathObject(Core &broker, Shared<ObjectPath> path)
        : Encapsulated(broker, &kObjectPathTable), value(std::move(path)) {}
    const ClassDeclaration *Declaration() const; // null for a class that the broker does not know
    void SetClassName(const char *name);

    Shared<ObjectPath> value;

private:
    mutable std::atomic<const ClassDeclaration *> declaration{
        nullptr}; // once looked up; several threads may ask a clone
};

struct InstanceObject : Encapsulated<CMPIInstance, CMPIInstanceFT> {
    InstanceObject(Core &broker, Shared<Instance> instance, const ClassDeclaration *known)
        : Encapsulated(broker, &kInstanceTable), value(std::move(instance)), declaration(known) {}
    InstanceObject(Core &broker, const Shared<Instance> &instance)
        : InstanceObject(broker, instance, broker.classes.Find(instance->path->className)) {}
    Shared<Instance> value;
    const ClassDeclaration *const declaration; // null for a class that the broker does not know
    std::optional<std::vector<std::string>>
        filter; // once set: the properties that can be set, besides the class's keys
};

struct ContextObject : Encapsulated<CMPIContext, CMPIContextFT> {
    ContextObject(Core &broker, const Provider *whose, std::vector<NamedValue> values)
        : Encapsulated(broker, ContextTable()), provider(whose), entries(std::move(values)) {}
    const Provider *const provider; // null for the client's own code
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
    return object.life == Object::Life::Clone ? object.value.Share() : object.value.Expose();
}

// Lends an object to the calling thread.
template <class T> typename T::HandleType *Lend(std::unique_ptr<T> object, bool fromUpcall = false) {
    object->fromUpcall = fromUpcall;
    Threads::Mine().CurrentScope(object->core).Adopt(object.get());
    return &object.release()->handle;
}

// Hands an object to whoever calls for a clone.
template <class T> typename T::HandleType *Cloned(std::unique_ptr<T> object) {
    object->life = Object::Life::Clone;
    object->core.counts.clones.fetch_add(1, std::memory_order_relaxed);
    return &object.release()->handle;
}

template <class T> CMPIStatus ReleaseObject(typename T::HandleType *handle) {
    ObjectOf<T>(handle).Release();
    return kOk;
}

inline void Set(CMPIStatus *status, CMPIrc rc) {
    if (status != nullptr) *status = {rc, nullptr};
}

// The value that a key property has from an instance's path; null when it has none from there. Whether the property is
// set does not matter.
const Value *KeyAsProperty(const Instance &instance, const PropertyDeclaration &declared);
// Gives an instance its listed key properties as values of its own, and no others from its path any more.
void CopyKeys(Instance &instance, const ClassDeclaration &declaration, PropertyList listed);

// A path as text, which is too much for an unkind broker when it is long.
CMPIString *LendPathText(Core &core, const ObjectPath &path);

CMPIString *LendString(Core &core, std::optional<std::string> text);

} // namespace cim
