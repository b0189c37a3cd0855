// Ownership of the objects that a broker hands out. Each object is allocated by itself, so that a use after it was
// freed is found by the address sanitizer.
#pragma once

#include <cstddef>
#include <mutex>

namespace cim {

class Core;
class Scope;

// Base of every encapsulated object.
struct Object {
    enum class Life {
        Fixed, // part of a call in progress; a release leaves it alone
        Lent,  // owned by a scope
        Clone, // owned by whoever asked for it, until it is released
    };

    explicit Object(Core &broker) : core(broker) {}
    virtual ~Object() = default;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    // What a provider's release does: frees a clone, or a lent object before its time.
    void Release();

    Core &core;
    Life life = Life::Fixed;
    bool fromUpcall = false; // made by an up-call, or read from what one returned

private:
    friend class Scope;
    Scope *owner = nullptr;
    Object *previous = nullptr;
    Object *next = nullptr;
};

// Owns what was lent during an invocation, to an attached thread or since a mark. Used by one thread as a rule; an
// object may be released by another.
class Scope {
public:
    Scope() = default;
    ~Scope() { Free(); }
    Scope(const Scope &) = delete;
    Scope &operator=(const Scope &) = delete;

    void Adopt(Object *object);
    void Remove(Object *object);
    void Free();
    bool Empty() const;
    std::size_t UpcallObjects() const;

private:
    mutable std::mutex mutex;
    Object *first = nullptr; // guarded by mutex, as the next
    std::size_t upcallObjects = 0;
};

} // namespace cim
