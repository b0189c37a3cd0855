#include "cim/recording/Vocabulary.h"

#include "cim/broker/classes/Value.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace cim {

namespace {

constexpr std::size_t kMostNumberDigits = 3; // longer numbers may be somebody's

// The field's words, separated by blanks. Names of people and places, and what might be one, have no place here.
constexpr std::string_view kWords =
    // Hardware
    "adapter array backplane bank bay bbu bios board boot bus cable cache card channel chassis cmos connector "
    "controller cpu ctrl hhrc device disk disks drive drives driver dump enclosure enc expander external fan fans "
    "firmware fw group hba hdd host hw hardware initiator internal lane led link lun lane media memory module "
    "motor nand node nvme nvram package path pci pcie pd phy phys pin platter plug port ports power processor ps "
    "psu raid sas sata scsi sensor ses sff shelf slot slots sn software spindle ssd storage supply switch target "
    "temperature tray unit vd volt voltage wwn wwid wwnn wwpn md dg ld vg hb eid pool pools volume volumes "
    "drivegroup bundle flash battery supercap capacitor energy pack uuid guid eui naa iqn mac ip ipv4 ipv6 oui "
    "nguid duid hex id ids serial number part model vendor product revision rev version level type class name "
    "code info "
    // What is stored, and how
    "data root swap system backup log logs free spare spares unassigned scratch hot global dedicated local mirror "
    "mirrored mirroring stripe striped striping parity span spanned simple concat jbod passthrough raw primordial "
    "concrete member members extent extents logical physical virtual base block blocks size capacity space sector "
    "sectors bytes byte kb mb gb tb pb kib mib gib tib rpm mhz ghz hz gbps mbps mw ms min hours minutes seconds "
    "days policy read write ahead back through adaptive direct cached always default setting settings other copy "
    // States, and what is said of them
    "ok good bad normal optimal degraded failed failure failing fail error errors fault faulted warning critical "
    "minor major fatal unknown online offline absent present missing removed inserted installed unconfigured "
    "configured foreign rebuild rebuilding rebuilt initializing initialising initialization initialized "
    "background consistency check checking patrol scrub scan verify verifying expanding migrating migration "
    "reconstruction reconstructing formatting format erase erasing secure secured locked unlocked encrypted "
    "standby idle active inactive enabled disabled starting stopping stopped running started stressed predictive "
    "predicted smart alert non recoverable unrecoverable recoverable in service no contact lost communication "
    "aborted dormant supporting entity completed mode state status health operational charging charged charge "
    "discharging discharged discharge learning learn cycle fully partially low high not ready progress pending "
    "available unavailable supported unsupported limited required replace replaced needed none null na tbd yes "
    "true false on off "
    // Between the words
    "an and as at by for from has is it of or the this to was with without all any each one two three four";

// The groups of letters and of digits that a word is made of.
template <class Visit> void ForEachGroup(std::string_view word, const Visit &visit) {
    for (std::size_t at = 0; at < word.size();) {
        std::size_t end = at + 1;
        while (end < word.size() && IsDigit(word[end]) == IsDigit(word[at])) ++end;
        visit(word.substr(at, end - at));
        at = end;
    }
}

} // namespace

bool HasDigit(std::string_view text) { return std::any_of(text.begin(), text.end(), IsDigit); }

std::size_t WordLength(std::string_view text, std::size_t begin) {
    std::size_t end = begin;
    while (end < text.size() && IsWordPart(text[end])) ++end;
    return end - begin;
}

Vocabulary::Vocabulary(const sim::Classes &known) : classes(known) {
    for (std::size_t at = 0; at < kWords.size(); ++at) {
        const std::size_t length = WordLength(kWords, at);
        words.emplace(kWords.substr(at, length));
        at += length;
    }
    for (sim::ClassId id = 0; id < classes.End(); ++id) {
        LearnName(classes.Name(id));
        for (const auto &property : classes.OwnProperties(id)) LearnName(property.first);
    }
}

// "Sim_AcmeSASSATAPort": sim, acme, sassata and port.
void Vocabulary::LearnName(std::string_view name) {
    const auto isUpper = [&](std::size_t at) { return std::isupper(static_cast<unsigned char>(name[at])) != 0; };
    const auto isLower = [&](std::size_t at) { return std::islower(static_cast<unsigned char>(name[at])) != 0; };
    std::string word;
    for (std::size_t at = 0; at <= name.size(); ++at) {
        const bool ends = at == name.size() || name[at] == '_' || IsDigit(name[at]) ||
                          (isUpper(at) && at > 0 && (isLower(at - 1) || (at + 1 < name.size() && isLower(at + 1))));
        if (ends && !word.empty()) words.insert(LowerCase(std::exchange(word, {})));
        if (at < name.size() && name[at] != '_' && !IsDigit(name[at])) word += name[at];
    }
}

bool Vocabulary::IsCommon(std::string_view word) const {
    if (word == "0x" || word == "0X") return true;
    std::size_t groups = 0;
    bool common = true;
    ForEachGroup(LowerCase(word), [&](std::string_view group) {
        ++groups;
        if (IsDigit(group[0])) {
            common = common && group.size() <= kMostNumberDigits;
        } else {
            const bool letter = group.size() == 1 && group[0] >= 'a' && group[0] <= 'z';
            common = common && (letter || words.count(group) != 0);
        }
    });
    return common && groups <= 2;
}

} // namespace cim
