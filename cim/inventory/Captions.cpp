#include "cim/inventory/Captions.h"

#include "cim/inventory/NaturalOrder.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace cim {

namespace {

constexpr auto kNone = std::string_view::npos;

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

bool StartsWithDigit(std::string_view text) {
    return !text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0;
}

std::string_view Trimmed(std::string_view text) {
    const auto end = text.find_last_not_of(' ');
    return end == kNone ? std::string_view{} : text.substr(0, end + 1);
}

// The word behind the last " - ".
std::string StateAtEndOf(std::string_view text) {
    const auto dash = text.rfind(" - ");
    return dash == kNone ? std::string() : std::string(text.substr(dash + 3));
}

// The caption puts a volume's level in front of its name with nothing but a space between them: what looks like a
// level is one.
std::size_t LengthOfLevel(std::string_view text) {
    std::string word(text.substr(0, text.find(' ')));
    std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::toupper(c); });
    if (word == "RAID" && StartsWithDigit(text.substr(std::min(text.size(), word.size() + 1)))) { // "RAID 5"
        return std::min(text.size(), text.find(' ', word.size() + 1));
    }
    return StartsWith(word, "RAID") || word == "JBOD" ? word.size() : 0;
}

struct Drive {
    std::string_view text, enclosure;
    unsigned slot = 0;
    bool placed = false; // slot and enclosure are known
    bool cut = false;    // by the caption's limit: none of it is
};

constexpr std::string_view kDrivesStart = ", Drives(", kCut = "...";

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string MiddleOf(const std::string &controller, const std::string &device) {
    return "Logical Volume " + device + " on controller " + controller;
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

} // namespace

std::string ModelIn(std::string_view caption, const std::string &controller) {
    const std::string start = "Controller " + controller + " (";
    if (!StartsWith(caption, start)) return {};
    caption.remove_prefix(start.size());
    if (!caption.empty() && caption.back() == ')') caption.remove_suffix(1);
    return std::string(caption);
}

Versions VersionsIn(std::string_view versionString) {
    constexpr std::string_view packageEnd = " (Package)", between = "; ", firmwareEnd = " (Fw)";
    const auto package = versionString.find(packageEnd);
    if (package == kNone) return {std::string(versionString), {}};
    Versions versions{std::string(versionString.substr(0, package)), {}};
    versionString.remove_prefix(package + packageEnd.size());
    if (StartsWith(versionString, between)) versionString.remove_prefix(between.size());
    versions.firmware = versionString.substr(0, versionString.rfind(firmwareEnd));
    return versions;
}

VolumeCaption ReadVolumeCaption(std::string_view caption, const std::string &controller, const std::string &device) {
    const std::string middle = MiddleOf(controller, device);
    VolumeCaption facts;
    const auto start = caption.rfind(middle);
    if (start == kNone) return facts;

    const auto front = caption.substr(0, start);
    const auto level = LengthOfLevel(front);
    facts.level = front.substr(0, level);
    facts.name = Trimmed(front.substr(std::min(front.size(), level > 0 ? level + 1 : 0)));

    auto rest = caption.substr(start + middle.size());
    if (StartsWith(rest, kDrivesStart)) {
        rest.remove_prefix(kDrivesStart.size());
        const auto end = EndOfDrives(rest);
        facts.drives = rest.substr(0, end);
        if (end == kNone) facts.drives += kCut;
        rest.remove_prefix(std::min(end, rest.size()));
    }
    facts.state = StateAtEndOf(rest);
    return facts;
}

std::string WithDrivesInOrder(std::string_view caption, const std::string &controller, const std::string &device) {
    const std::string drives = ReadVolumeCaption(caption, controller, device).drives;
    std::string list;
    for (const Drive &drive : InOrder(drives)) list.append(list.empty() ? "" : ",").append(drive.text);
    if (EndsWith(list, kCut)) list.resize(list.size() - kCut.size());
    std::string ordered(caption);
    if (list.empty()) return ordered;
    const std::string front = MiddleOf(controller, device);
    return ordered.replace(ordered.rfind(front) + front.size() + kDrivesStart.size(), list.size(), list);
}

DiskCaption ReadDiskCaption(std::string_view caption, const std::string &controller) {
    constexpr std::string_view start = "Drive ", enclosure = " in enclosure ";
    const std::string middle = " on controller " + controller + " Fw: ";
    DiskCaption facts;
    const auto end = caption.rfind(middle);
    if (!StartsWith(caption, start) || end == kNone) return facts;

    const auto place = caption.substr(start.size(), end - start.size());
    const auto in = place.find(enclosure);
    if (in != kNone) {
        facts.slot = place.substr(0, in);
        facts.enclosure = place.substr(in + enclosure.size());
    }
    const auto rest = caption.substr(end + middle.size());
    facts.firmware = rest.substr(0, rest.rfind(" - "));
    facts.state = StateAtEndOf(rest);
    return facts;
}

std::string PortNameIn(std::string_view caption, const std::string &controller) {
    return std::string(caption.substr(0, caption.rfind(" on Controller " + controller)));
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

} // namespace cim
