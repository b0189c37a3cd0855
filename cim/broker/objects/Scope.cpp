#include "cim/broker/objects/Scope.h"

#include "cim/broker/Core.h"

#include <utility>

namespace cim {

void BrokerObject::Release() {
    switch (life) {
    case Life::Fixed:
        return;
    case Life::Lent:
        owner->Remove(this);
        core.counts.lent.fetch_sub(1, std::memory_order_relaxed);
        break;
    case Life::Clone: {
        std::atomic<std::uint64_t> &clones = core.counts.clones;
        delete this;
        clones.fetch_sub(1, std::memory_order_release); // the last: who waited for it may end the broker
        return;
    }
    }
    delete this;
}

void LentScope::Adopt(BrokerObject *object) {
    object->life = BrokerObject::Life::Lent;
    object->owner = this;
    object->core.counts.lent.fetch_add(1, std::memory_order_relaxed);
    const std::lock_guard<std::mutex> lock(mutex);
    object->next = first;
    if (first != nullptr) first->previous = object;
    first = object;
    if (object->fromUpcall) ++upcallObjects;
}

void LentScope::Remove(BrokerObject *object) {
    const std::lock_guard<std::mutex> lock(mutex);
    (object->previous != nullptr ? object->previous->next : first) = object->next;
    if (object->next != nullptr) object->next->previous = object->previous;
    if (object->fromUpcall) --upcallObjects;
}

void LentScope::Free() {
    BrokerObject *object = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        std::swap(object, first);
        upcallObjects = 0;
    }
    if (object == nullptr) return;
    std::atomic<std::uint64_t> &lent = object->core.counts.lent;
    std::uint64_t freed = 0;
    for (; object != nullptr; ++freed) delete std::exchange(object, object->next);
    lent.fetch_sub(freed, std::memory_order_relaxed);
}

bool LentScope::Empty() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return first == nullptr;
}

std::size_t LentScope::UpcallObjects() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return upcallObjects;
}

} // namespace cim
