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
constexpr double kLately = 60; // seconds

// Empty: it is in none.
std::string EnclosureOf(const Item &item) {
    if (item.enclosure.empty()) return {};
    return fmt::format("enclosure {} of controller {}", item.enclosure, item.controller);
}

// One kind after the other on each controller.
bool ByPlace(const Item &a, const Item &b) {
    if (a.controller != b.controller) return NaturallyBefore(a.controller, b.controller);
    if (a.served != b.served) return a.served->index < b.served->index;
    for (const auto fact : {&Item::enclosure, &Item::slot, &Item::device}) {
        if (a.*fact != b.*fact) return NaturallyBefore(a.*fact, b.*fact);
    }
    return a.path < b.path;
}

} // namespace

void Memory::Note(const Inventory &now, std::time_t time) {
    latest = time;
    Forget();
    std::set<std::string> there, enclosures;
    for (const auto &items : now) {
        for (const Item &item : items) {
            if (item.served->index == kSoftware) continue;
            there.insert(item.path);
            enclosures.insert(EnclosureOf(item));
            Known &each = known[item.path];
            const bool isWell = item.severity == Severity::Ok;
            if (!isWell) each.recovered = 0;
            if (isWell && (each.goneSince != 0 || each.last.severity != Severity::Ok)) {
                each.was = each.goneSince != 0 ? "gone" : each.last.reason;
                each.recovered = time;
            }
            each.goneSince = 0;
            each.last = item;
        }
    }
    std::map<std::string, std::string> controllers; // paths of those that are gone, by ID
    for (auto &[path, each] : known) {
        if (there.count(path) != 0) continue;
        if (each.goneSince == 0) each.goneSince = time;
        each.recovered = 0;
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
    std::sort(gone.begin(), gone.end(), [](const Gone &a, const Gone &b) { return ByPlace(a.last, b.last); });
    if (known.size() > there.size() + kMostGone) ForgetTheOldest();
}

void Memory::Forget() {
    for (auto each = known.begin(); each != known.end() && forgottenAfter;) {
        const std::time_t since = each->second.goneSince;
        each = since != 0 && std::difftime(latest, since) >= *forgottenAfter ? known.erase(each) : std::next(each);
    }
}

std::vector<Recovered> Memory::RecoveredLately() const {
    std::vector<Recovered> list;
    for (const auto &[path, each] : known) {
        if (each.recovered == 0 || std::difftime(latest, each.recovered) >= kLately) continue;
        list.push_back({&each.last, each.was, each.recovered});
    }
    std::sort(list.begin(), list.end(),
              [](const Recovered &a, const Recovered &b) { return ByPlace(*a.item, *b.item); });
    return list;
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

std::string ReasonOf(const Recovered &recovered) {
    return fmt::format("was {} until {}", recovered.was, TimeWithOffset(recovered.since));
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
