#include "cim/inventory/Gone.h"

#include "cim/inventory/Captions.h"
#include "cim/inventory/Changes.h"
#include "cim/inventory/ShownText.h"
#include "cim/inventory/Verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace cim {

namespace {

// Hardware that names its devices anew at each look must not fill the memory.
constexpr std::size_t kMostGone = 4096;

// Empty: it is in none.
std::string EnclosureOf(const Item &item) {
    if (item.enclosure.empty()) return {};
    return fmt::format("enclosure {} of controller {}", item.enclosure, item.controller);
}

bool ByPlace(const Gone &a, const Gone &b) {
    for (const auto fact : {&Item::controller, &Item::enclosure, &Item::slot, &Item::device}) {
        if (a.last.*fact != b.last.*fact) return NaturallyBefore(a.last.*fact, b.last.*fact);
    }
    return a.path < b.path;
}

} // namespace

void Memory::Note(const Inventory &now, std::time_t time) {
    std::set<std::string> there, enclosures;
    for (const auto &items : now) {
        for (const Item &item : items) {
            if (item.served->index == kSoftware) continue;
            there.insert(item.path);
            enclosures.insert(EnclosureOf(item));
            known[item.path] = {item, 0};
        }
    }
    std::map<std::string, std::string> controllers; // paths of those that are gone, by ID
    for (auto &[path, each] : known) {
        if (there.count(path) != 0) continue;
        if (each.goneSince == 0) each.goneSince = time;
        if (each.last.served->index == kController) controllers[each.last.controller] = path;
    }
    // What belongs to a controller or an enclosure that is gone as a whole goes with it.
    std::map<std::string, Gone> wholes;
    for (const auto &[path, each] : known) {
        if (each.goneSince == 0) continue;
        const std::string enclosure = EnclosureOf(each.last);
        const bool emptied = !enclosure.empty() && enclosures.count(enclosure) == 0;
        const auto controller = controllers.find(each.last.controller);
        Gone &whole = wholes[controller != controllers.end() ? controller->second : emptied ? enclosure : path];
        whole.since = std::max(whole.since, each.goneSince);
        if (++whole.count == 1 || each.last.served->index == kController) whole.last = each.last;
    }
    gone.clear();
    for (auto &[path, whole] : wholes) {
        const bool isEnclosure = path != whole.last.path && whole.count > 1;
        whole.kind = isEnclosure ? "enclosure" : whole.last.served->kind;
        whole.path = isEnclosure ? path : whole.last.path;
        whole.name = isEnclosure ? path : NameOf(whole.last);
        gone.push_back(std::move(whole));
    }
    std::sort(gone.begin(), gone.end(), ByPlace);
    if (known.size() > there.size() + kMostGone) ForgetTheOldest();
}

void Memory::ForgetTheOldest() {
    std::time_t oldest = 0;
    for (const auto &[path, each] : known) {
        if (each.goneSince != 0 && (oldest == 0 || each.goneSince < oldest)) oldest = each.goneSince;
    }
    for (auto each = known.begin(); each != known.end();) {
        each = each->second.goneSince == oldest ? known.erase(each) : std::next(each);
    }
}

std::string ReasonOf(const Gone &gone) {
    const std::string what = gone.kind == "enclosure" ? Counted(gone.count, "disk", "disks")
                             : gone.count > 1         ? Counted(gone.count - 1, "device", "devices")
                                                      : "";
    return fmt::format("gone since {}{}{}", TimeWithOffset(gone.since), what.empty() ? "" : ", with ", what);
}

Json ToJson(const Gone &gone) {
    return {{"path", gone.path},
            {"kind", gone.kind},
            {"name", gone.name},
            {"since", TimeWithOffset(gone.since)},
            {"verdict", NameOf(kGoneSeverity)},
            {"reason", ReasonOf(gone)},
            {"facts", FactsOf(gone.last)}};
}

} // namespace cim
