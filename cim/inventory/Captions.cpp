#include "cim/inventory/Captions.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <tuple>

namespace cim {

namespace {

constexpr auto kNone = std::string_view::npos;

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// What stands before the last such mark; the text is then what stands behind it. None, and the text as it was, when
// there is no mark.
std::optional<std::string_view> TakeBefore(std::string_view &text, std::string_view mark) {
    const auto at = text.rfind(mark);
    if (at == kNone) return {};
    const auto before = text.substr(0, at);
    text.remove_prefix(at + mark.size());
    return before;
}

// The word behind the last " - ", which with what is before it goes.
std::string TakeState(std::string_view &text) {
    std::string_view state = text;
    const auto before = TakeBefore(state, " - ");
    text = before.value_or(text);
    return std::string(before ? state : "");
}

// The caption puts a volume's level in front of its name with nothing but a space between them: what looks like a
// level is one.
std::size_t LengthOfLevel(std::string_view text) {
    const std::string word = LowerCase(text.substr(0, text.find(' ')));
    const auto behind = std::min(word.size() + 1, text.size());
    if (word == "raid" && text.find_first_of("0123456789", behind) == behind) { // "RAID 5"
        return std::min(text.size(), text.find(' ', behind));
    }
    return StartsWith(word, "raid") || word == "jbod" ? word.size() : 0;
}

struct Drive {
    std::string_view text, enclosure;
    unsigned slot = 0;
    bool placed = false; // slot and enclosure are known
    bool cut = false;    // by the caption's limit: none of it is
};

constexpr std::string_view kDrivesStart = ", Drives(", kCut = "...";

// What a volume's caption has between its name and its list of drives.
std::string MiddleOf(const Item &volume) {
    return "Logical Volume " + volume.device + " on controller " + volume.controller;
}

// Where the list ends that a volume's caption begins with: an enclosure's tag may hold a ")", so at the last one before
// the state, whole or cut.
std::size_t EndOfDrives(std::string_view text) {
    if (const auto end = text.rfind(") - "); end != kNone) return end;
    for (const std::string_view end : {") -", ") ", ")"}) {
        if (EndsWith(text, end)) return text.size() - end.size();
    }
    return kNone;
}

Drive ReadDrive(std::string_view text) {
    Drive drive;
    drive.text = text;
    drive.cut = EndsWith(text, kCut);
    if (drive.cut) return drive;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), drive.slot);
    const auto digits = static_cast<std::size_t>(end - text.data());
    if (error == std::errc() && digits + 1 < text.size() && *end == 'e') {
        drive.placed = true;
        drive.enclosure = text.substr(digits + 1);
    }
    return drive;
}

bool Before(const Drive &a, const Drive &b) {
    if (a.cut != b.cut) return b.cut;
    if (a.placed != b.placed) return a.placed;
    if (!a.placed) return NaturallyBefore(a.text, b.text);
    if (a.enclosure != b.enclosure) return NaturallyBefore(a.enclosure, b.enclosure);
    return a.slot < b.slot;
}

std::vector<Drive> InOrder(std::string_view drives) {
    std::vector<Drive> list;
    for (const auto drive : SplitDrives(drives)) list.push_back(ReadDrive(drive));
    std::stable_sort(list.begin(), list.end(), Before);
    return list;
}

bool Follows(const Drive &drive, const Drive &before) {
    return drive.placed && before.placed && drive.enclosure == before.enclosure && drive.slot == before.slot + 1;
}

// With runs of slots joined.
std::string JoinSlots(std::string_view drives) {
    const std::vector<Drive> list = InOrder(drives);
    std::string joined;
    for (std::size_t first = 0; first < list.size();) {
        std::size_t last = first;
        while (last + 1 < list.size() && Follows(list[last + 1], list[last])) ++last;
        if (last < first + 2) last = first; // two slots are shorter side by side
        if (!joined.empty()) joined += ',';
        if (last > first) joined += std::to_string(list[first].slot) + "-";
        joined += list[last].text;
        first = last + 1;
    }
    return joined;
}

void ReadVolume(std::string_view caption, Item &item) {
    item.state.clear(); // also where the caption is cut before it
    const auto front = TakeBefore(caption, MiddleOf(item));
    if (!front) return;
    const auto level = LengthOfLevel(*front);
    item.level = front->substr(0, level);
    const auto name = front->substr(std::min(front->size(), level > 0 ? level + 1 : 0));
    item.name = name.substr(0, name.find_last_not_of(' ') + 1);

    if (StartsWith(caption, kDrivesStart)) {
        caption.remove_prefix(kDrivesStart.size());
        const auto end = EndOfDrives(caption);
        item.driveList = caption.substr(0, end);
        if (end == kNone) item.driveList += kCut;
        caption.remove_prefix(std::min(end, caption.size()));
        item.drives = JoinSlots(item.driveList);
    }
    item.state = TakeState(caption);
}

void ReadDisk(std::string_view caption, Item &item) {
    item.state.clear(); // as of volumes
    constexpr std::string_view start = "Drive ", enclosure = " in enclosure ";
    const auto place = TakeBefore(caption, " on controller " + item.controller + " Fw: ");
    if (!place || !StartsWith(*place, start)) return;
    const auto in = place->find(enclosure);
    if (in != kNone) {
        item.slot = place->substr(start.size(), in - start.size());
        item.enclosure = place->substr(in + enclosure.size());
    }
    item.state = TakeState(caption);
    if (EndsWith(caption, " -")) caption.remove_suffix(2);
    item.firmware = caption;
}

void ReadModel(std::string_view caption, Item &item) {
    const std::string start = "Controller " + item.controller + " (";
    if (!StartsWith(caption, start)) return;
    caption.remove_prefix(start.size());
    if (EndsWith(caption, ")")) caption.remove_suffix(1);
    item.model = caption;
}

void ReadVersions(std::string_view versions, Item &item) {
    constexpr std::string_view packageEnd = " (Package)", between = "; ", firmwareEnd = " (Fw)";
    const auto package = versions.find(packageEnd);
    item.package = versions.substr(0, package);
    if (package == kNone) return;
    versions.remove_prefix(package + packageEnd.size());
    if (StartsWith(versions, between)) versions.remove_prefix(between.size());
    item.firmware = versions.substr(0, versions.rfind(firmwareEnd));
}

} // namespace

void ReadCaption(Item &item) {
    const std::string &caption = TextIn(item.instance, "Caption");
    switch (item.served->index) {
    case kSoftware:
        ReadVersions(TextIn(item.instance, "VersionString"), item);
        [[fallthrough]];
    case kController:
        return ReadModel(caption, item);
    case kVolume:
        return ReadVolume(caption, item);
    case kDisk:
        return ReadDisk(caption, item);
    case kPort:
        item.name = caption.substr(0, caption.rfind(" on Controller " + item.controller));
        return;
    case kBattery:
        return;
    }
}

std::string WithDrivesInOrder(std::string_view caption, const Item &volume) {
    Item read = volume;
    ReadVolume(caption, read);
    std::string list;
    for (const Drive &drive : InOrder(read.driveList)) list.append(list.empty() ? "" : ",").append(drive.text);
    if (EndsWith(list, kCut)) list.resize(list.size() - kCut.size());
    std::string ordered(caption);
    if (list.empty()) return ordered;
    const std::string middle = MiddleOf(volume);
    return ordered.replace(ordered.rfind(middle) + middle.size() + kDrivesStart.size(), list.size(), list);
}

std::vector<std::string_view> SplitDrives(std::string_view drives) {
    std::vector<std::string_view> pieces;
    while (!drives.empty()) {
        const auto comma = std::min(drives.find(','), drives.size());
        pieces.push_back(drives.substr(0, comma));
        drives.remove_prefix(std::min(comma + 1, drives.size()));
    }
    return pieces;
}

bool NaturallyBefore(std::string_view a, std::string_view b) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    // What both begin with decides nothing, unless a number that differs begins there.
    auto same = static_cast<std::size_t>(
        std::mismatch(a.begin(), a.begin() + std::min(a.size(), b.size()), b.begin()).first - a.begin());
    while (same > 0 && digit(a[same - 1])) --same;
    a.remove_prefix(same);
    b.remove_prefix(same);
    while (!a.empty() && !b.empty()) {
        if (digit(a.front()) && digit(b.front())) {
            const auto take = [&](std::string_view &text) {
                while (text.size() > 1 && text[0] == '0' && digit(text[1])) text.remove_prefix(1);
                std::size_t length = 0;
                while (length < text.size() && digit(text[length])) ++length;
                const auto number = text.substr(0, length);
                text.remove_prefix(length);
                return number;
            };
            const auto x = take(a), y = take(b);
            if (x != y) return std::make_tuple(x.size(), x) < std::make_tuple(y.size(), y);
        } else {
            if (a.front() != b.front()) return a.front() < b.front();
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    return a.empty() && !b.empty();
}

} // namespace cim
