#include "cim/picture/ChangeLog.h"

#include "cim/picture/Facts.h"

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
    const Json facts = FactsOf(change.Subject());
    if (change.before != nullptr && change.after != nullptr) {
        entry["factChanges"] = ChangedFacts(FactsOf(*change.before), facts);
    }
    entry["facts"] = facts;
    newestFirst.push_front(std::move(entry));
    if (newestFirst.size() > kChangesKept) newestFirst.pop_back();
}

Json ChangeLog::ToJson() const { return Json(newestFirst); }

} // namespace cim::picture
