#include "cim/broker/faults/FaultState.h"

namespace cim {

const char *NameOf(Operation operation) {
    switch (operation) {
    case Operation::PrepareAttachThread:
        return "prepareAttachThread";
    case Operation::AttachThread:
        return "attachThread";
    case Operation::DetachThread:
        return "detachThread";
    case Operation::EnumerateInstances:
        return "enumerateInstances";
    case Operation::EnumerateInstanceNames:
        return "enumerateInstanceNames";
    case Operation::GetInstance:
        return "getInstance";
    case Operation::Associators:
        return "associators";
    case Operation::AssociatorNames:
        return "associatorNames";
    case Operation::References:
        return "references";
    case Operation::ReferenceNames:
        return "referenceNames";
    case Operation::NewObjectPath:
        return "newObjectPath";
    case Operation::NewInstance:
        return "newInstance";
    case Operation::NewArray:
        return "newArray";
    case Operation::NewString:
        return "newString";
    case Operation::ClassPathIsA:
        return "classPathIsA";
    case Operation::Clone:
        return "clone";
    case Operation::GetObjectPath:
        return "getObjectPath";
    case Operation::GetClassName:
        return "getClassName";
    case Operation::GetNameSpace:
        return "getNameSpace";
    case Operation::ToString:
        return "toString";
    case Operation::GetCharPtr:
        return "getCharPtr";
    case Operation::ToArray:
        return "toArray";
    case Operation::GetProperty:
        return "getProperty";
    case Operation::GetKey:
        return "getKey";
    case Operation::SetProperty:
        return "setProperty";
    case Operation::AddKey:
        return "addKey";
    case Operation::SetElementAt:
        return "setElementAt";
    case Operation::ReturnInstance:
        return "returnInstance";
    case Operation::ReturnObjectPath:
        return "returnObjectPath";
    }
    return "unknown";
}

Faults::Faults() : state(std::make_unique<State>()) {}
Faults::~Faults() = default;

Faults::Id Faults::Add(FaultRule rule) {
    const std::lock_guard<std::mutex> lock(state->mutex);
    state->entries.push_back({++state->lastId, std::make_shared<const FaultRule>(std::move(rule))});
    state->armed.store(true, std::memory_order_release);
    return state->lastId;
}

void Faults::Remove(Id id) {
    State::Rule removed; // its hook may own things whose end takes time: not under the lock
    State::Lock lock(state->mutex);
    if (State::Entry *entry = state->Find(id)) {
        removed = entry->rule;
        state->entries.erase(state->entries.begin() + (entry - state->entries.data()));
    }
    state->armed.store(!state->entries.empty(), std::memory_order_release);
    if (removed != nullptr) state->Answer(lock, removed.get());
}

void Faults::Clear() {
    std::vector<State::Entry> removed;
    State::Lock lock(state->mutex);
    removed.swap(state->entries);
    state->armed.store(false, std::memory_order_release);
    state->Answer(lock, nullptr);
}

void Faults::AnswerLost() {
    State::Lock lock(state->mutex);
    state->Answer(lock, nullptr);
}

std::size_t Faults::LostNow() const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    return state->lost.size();
}

bool Faults::AwaitLost(std::size_t count, std::chrono::milliseconds limit) const {
    State::Lock lock(state->mutex);
    return state->changed.wait_for(lock, limit, [&] { return state->lost.size() >= count; });
}

std::uint64_t Faults::Matched(Id id) const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    const State::Entry *entry = state->Find(id);
    return entry != nullptr ? entry->matched : 0;
}

std::uint64_t Faults::Hit(Id id) const {
    const std::lock_guard<std::mutex> lock(state->mutex);
    const State::Entry *entry = state->Find(id);
    return entry != nullptr ? entry->hit : 0;
}

} // namespace cim
