#include "cim/broker/faults/Faults.h"

#include <algorithm>

namespace cim {
namespace {

bool Matches(const std::string &wanted, const char *actual) {
    return wanted.empty() || (actual != nullptr && SameName(wanted, actual));
}

bool Matches(const FaultRule &rule, const OperationRequest &request, const std::string *caller) {
    const auto &any = rule.operations;
    if (!any.empty() && std::find(any.begin(), any.end(), request.operation) == any.end()) return false;
    if (!rule.provider.empty() && (caller == nullptr || *caller != rule.provider)) return false;
    return Matches(rule.className, request.path != nullptr ? request.path->className.c_str() : nullptr) &&
           Matches(rule.associationClass, request.associationClass) && Matches(rule.resultClass, request.resultClass);
}

} // namespace

const char *NameOf(Operation operation) {
    // In the order of the enumeration.
    static constexpr const char *kNames[] = {"prepareAttachThread",
                                             "attachThread",
                                             "detachThread",
                                             "enumerateInstances",
                                             "enumerateInstanceNames",
                                             "getInstance",
                                             "associators",
                                             "associatorNames",
                                             "references",
                                             "referenceNames",
                                             "newObjectPath",
                                             "newInstance",
                                             "newArray",
                                             "newString",
                                             "classPathIsA",
                                             "clone",
                                             "getObjectPath",
                                             "getClassName",
                                             "getNameSpace",
                                             "toString",
                                             "getCharPtr",
                                             "toArray",
                                             "getProperty",
                                             "getKey",
                                             "setProperty",
                                             "addKey",
                                             "setElementAt",
                                             "returnInstance",
                                             "returnObjectPath",
                                             "createInstance",
                                             "modifyInstance",
                                             "deleteInstance",
                                             "execQuery"};
    const auto place = static_cast<std::size_t>(operation);
    return place < std::size(kNames) ? kNames[place] : "unknown";
}

void CallLog::Add(Call call) {
    const std::lock_guard<std::mutex> lock(mutex);
    calls.push_back(std::move(call));
}

std::vector<Call> CallLog::Take() {
    std::vector<Call> taken;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        taken.swap(calls);
    }
    std::stable_sort(taken.begin(), taken.end(), [](const Call &a, const Call &b) { return a.start < b.start; });
    return taken;
}

Faults::Id Faults::Add(FaultRule rule) {
    const Lock lock(mutex);
    entries.push_back({++lastId, std::make_shared<const FaultRule>(std::move(rule))});
    armed.store(true, std::memory_order_release);
    return lastId;
}

void Faults::Remove(Id id) {
    Rule removed; // its hook may own things whose end takes time: not under the lock
    Lock lock(mutex);
    const auto entry = Find(id);
    if (entry == entries.end()) return;
    removed = entry->rule;
    entries.erase(entry);
    armed.store(!entries.empty(), std::memory_order_release);
    Answer(lock, removed.get());
}

void Faults::Clear() {
    std::vector<Entry> removed;
    Lock lock(mutex);
    removed.swap(entries);
    armed.store(false, std::memory_order_release);
    Answer(lock, nullptr);
}

std::vector<Faults::Entry>::const_iterator Faults::Find(Id id) const {
    return std::find_if(entries.begin(), entries.end(), [&](const Entry &each) { return each.id == id; });
}

std::uint64_t Faults::CountOf(Id id, std::uint64_t Entry::*count) const {
    const Lock lock(mutex);
    const auto entry = Find(id);
    return entry != entries.end() ? (*entry).*count : 0;
}

void Faults::AnswerLost() {
    Lock lock(mutex);
    Answer(lock, nullptr);
}

std::size_t Faults::LostNow() const {
    const Lock lock(mutex);
    return lost.size();
}

bool Faults::AwaitLost(std::size_t count, std::chrono::milliseconds limit) const {
    Lock lock(mutex);
    return changed.wait_for(lock, limit, [&] { return lost.size() >= count; });
}

Faults::Rule Faults::Find(const OperationRequest &request, const std::string *caller) {
    const Lock lock(mutex);
    for (Entry &entry : entries) {
        if (!Matches(*entry.rule, request, caller)) continue;
        if (++entry.matched <= entry.rule->skip || entry.hit >= entry.rule->count) continue;
        ++entry.hit;
        return entry.rule;
    }
    return nullptr;
}

void Faults::Lose(const FaultRule *rule, const std::function<void()> &pause, const std::function<void()> &resume) {
    Lock lock(mutex);
    const auto isIts = [&](const Entry &entry) { return entry.rule.get() == rule; };
    if (std::none_of(entries.begin(), entries.end(), isIts)) return; // removed since it hit
    pause();
    const auto call = lost.insert(lost.end(), {rule});
    changed.notify_all();
    changed.wait(lock, [&] { return call->answered; });
    resume();
    lost.erase(call);
    changed.notify_all();
}

void Faults::Answer(Lock &lock, const FaultRule *rule) {
    for (LostCall &call : lost) call.answered = call.answered || rule == nullptr || call.rule == rule;
    changed.notify_all();
    changed.wait(lock, [&] {
        return std::none_of(lost.begin(), lost.end(), [](const LostCall &call) { return call.answered; });
    });
}

} // namespace cim
