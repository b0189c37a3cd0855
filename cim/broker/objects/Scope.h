// Ownership of the objects that a broker hands out. Each object is allocated by itself, so that a use after it was
// freed is found by the address sanitizer.
#pragma once

#include <cstddef>
#include <mutex>

namespace cim {

class Core;
class LentScope;
struct ObjectPath;

// Base of every encapsulated object.
struct BrokerObject {
    enum class Life {
        Fixed, // part of a call in progress; a release leaves it alone
        Lent,  // owned by a scope
        Clone, // owned by whoever asked for it, until it is released
    };

    explicit BrokerObject(Core &broker) : core(broker) {}
    virtual ~BrokerObject() = default;
    BrokerObject(const BrokerObject &) = delete;
    BrokerObject &operator=(const BrokerObject &) = delete;

    virtual const ObjectPath *Path() const { return nullptr; } // of a path or an instance

    // What a provider's release does: frees a clone, or a lent object before its time.
    void Release();

    Core &core;
    Life life = Life::Fixed;
    bool fromUpcall = false; // made by an up-call, or read from what one returned

private:
    friend class LentScope;
    LentScope *owner = nullptr;
    BrokerObject *previous = nullptr;
    BrokerObject *next = nullptr;
};

// Owns what was lent during an invocation, to an attached thread or since a mark. Used by one thread as a rule; an
// object may be released by another.
class LentScope {
public:
    LentScope() = default;
    ~LentScope() { Free(); }
    LentScope(const LentScope &) = delete;
    LentScope &operator=(const LentScope &) = delete;

    void Adopt(BrokerObject *object);
    void Remove(BrokerObject *object);
    void Free();
    bool Empty() const;
    std::size_t UpcallObjects() const;

private:
    mutable std::mutex mutex;
    BrokerObject *first = nullptr; // guarded by mutex, as the next
    std::size_t upcallObjects = 0;
};

} // namespace cim
