#include "cim/inventory/Times.h"

namespace cim {

namespace {

TimesOfKinds::Key KeyOf(const Item &item) { return {item.controller, item.served->index}; }

} // namespace

void TimesOfKinds::Note(const Inventory &now, const std::vector<Change> &changes, std::time_t time) {
    std::map<Key, Times> there;
    for (const auto &items : now) {
        for (const Item &item : items) {
            if (item.served->index == kSoftware) continue;
            const auto [entry, isNew] = there.try_emplace(KeyOf(item), Times{time, time});
            if (!isNew) continue;
            const auto before = times.find(entry->first);
            if (before != times.end()) entry->second.changed = before->second.changed;
        }
    }
    for (const Change &change : changes) {
        const auto changed = there.find(KeyOf(change.Subject()));
        if (changed != there.end()) changed->second.changed = time;
    }
    times = std::move(there);
}

} // namespace cim
