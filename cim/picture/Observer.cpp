#include "cim/picture/Observer.h"

namespace cim::picture {

namespace {

Json ChangedFacts(const Json &before, const Json &after) {
    Json changes = Json::object();
    const auto note = [&](const std::string &name) {
        const Json from = before.value(name, Json()), to = after.value(name, Json());
        if (from != to) changes[name] = {{"from", from}, {"to", to}};
    };
    for (const auto &fact : after.items()) note(fact.key());
    for (const auto &fact : before.items()) note(fact.key());
    return changes;
}

} // namespace

void ChangeLog::Add(const Change &change, const std::string &time) {
    Json entry = {{"number", ++added}};
    entry.update(cim::ToJson(change, time));
    const auto withoutMembers = [](const Item &item) {
        Json facts = FactsOf(item);
        facts.erase("members");
        facts.erase("membersCut");
        return facts;
    };
    const Json facts = withoutMembers(change.Subject());
    if (change.before != nullptr && change.after != nullptr) {
        entry["factChanges"] = ChangedFacts(withoutMembers(*change.before), facts);
    }
    entry["facts"] = facts;
    newestFirst.push_front(std::move(entry));
    if (newestFirst.size() > kChangesKept) newestFirst.pop_back();
}

Json ChangeLog::ToJson() const { return Json(newestFirst); }

Observer::Observer(Read reader, const Pace &given) : read(std::move(reader)), pace(given) {
    Look(); // before there is a second thread
    thread = std::thread([this] { LookOnIdly(); });
}

Observer::~Observer() {
    {
        const std::lock_guard lock(mutex);
        stop = true;
    }
    stopped.notify_all();
    thread.join();
}

void Observer::Observe(const std::function<void(const Observation &)> &show) {
    const std::lock_guard lock(mutex);
    if (Clock::now() - looked >= pace.fresh) Look();
    known.age = Clock::now() - readAt;
    show(known);
}

void Observer::Reject(const std::string &file, const std::string &reason) {
    const std::lock_guard lock(mutex);
    ++known.version;
    if (reason.empty()) {
        known.rejected.reset();
    } else { // it may be edited into another mistake
        known.rejected = Rejection{file, reason, known.rejected ? known.rejected->since : std::time(nullptr)};
    }
}

void Observer::Look() {
    looked = Clock::now();
    auto instances = read();
    known.readingTook = Clock::now() - looked;
    ++known.looks;
    known.failure = instances.status.message;
    if (!instances.Ok()) {
        ++known.looksFailed;
        if (known.failure.empty()) known.failure = "CIM status " + std::to_string(instances.status.rc);
        return;
    }
    known.failure.clear();
    known.time = std::time(nullptr);
    readAt = looked;

    Inventory now = Describe(std::move(instances.value));
    if (known.since == 0) {
        known.since = known.time;
        known.times.Note(now, {}, known.time);
        ++known.version;
    } else {
        const auto changes = Compare(known.inventory, now, nullptr);
        if (!changes.empty()) ++known.version;
        for (const auto &change : changes) known.log.Add(change, TimeWithOffset(known.time));
        known.times.Note(now, changes, known.time);
    }
    known.memory.Note(now, known.time);
    known.inventory = std::move(now); // what the changes' pointers led into
}

void Observer::LookOnIdly() {
    std::unique_lock lock(mutex);
    while (!stopped.wait_until(lock, looked + pace.idle, [this] { return stop; })) {
        if (Clock::now() - looked >= pace.idle) Look();
    }
}

} // namespace cim::picture
