#include "cim/recording/Identifiers.h"

#include "cim/broker/classes/Value.h"
#include "cim/recording/Vocabulary.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>

namespace cim {

namespace {

constexpr std::size_t kLongest = 320; // a mail address: 64 characters, "@" and a host's 255
constexpr std::size_t kMacDigits = 12, kWwnDigits = 16;

bool IsOneOf(char c, std::string_view some) { return some.find(c) != std::string_view::npos; }
bool IsHostPart(char c) { return (IsWordPart(c) && (c & 0x80) == 0) || c == '-' || c == '.'; }

// The characters from there on for which that holds, without what only ends a sentence.
template <class Holds> std::string_view RunOf(std::string_view text, const Holds &holds, std::string_view ends) {
    text = text.substr(0, kLongest);
    text = text.substr(0, static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), holds) - text.begin()));
    while (!text.empty() && IsOneOf(text.back(), ends)) text.remove_suffix(1);
    return text;
}

bool IsAddress(int family, std::string_view text) {
    in6_addr address{};
    return inet_pton(family, std::string(text).c_str(), &address) == 1;
}

// Each answers the length of what `text` begins with, 0 for something else.
std::size_t MailAt(std::string_view text) {
    const auto name = RunOf(
        text, [](char c) { return IsWordPart(c) || IsOneOf(c, "._%+-"); }, "");
    if (name.empty() || name.size() == text.size() || text[name.size()] != '@') return 0;
    const auto host = RunOf(text.substr(name.size() + 1), IsHostPart, ".-");
    return host.empty() ? 0 : name.size() + 1 + host.size();
}

std::size_t IqnAt(std::string_view text) {
    if (LowerCase(text.substr(0, 4)) != "iqn.") return 0;
    return RunOf(
               text, [](char c) { return IsWordPart(c) || IsOneOf(c, ".-:_"); }, ".-:")
        .size();
}

std::size_t Ipv6At(std::string_view text) {
    auto run = RunOf(
        text, [](char c) { return IsHex(c) || c == ':' || c == '.'; }, ".");
    // Eight groups may be a WWN's.
    if (run.find("::") == std::string_view::npos && HexIdentifierAt(text, 0) > 0) return 0;
    if (!IsAddress(AF_INET6, run) && !run.empty() && run.back() == ':') run.remove_suffix(1);
    return IsAddress(AF_INET6, run) ? run.size() : 0;
}

std::size_t Ipv4At(std::string_view text) {
    const auto run = RunOf(
        text, [](char c) { return IsDigit(c) || c == '.'; }, ".");
    return IsAddress(AF_INET, run) ? run.size() : 0;
}

std::size_t HostAt(std::string_view text) {
    const auto run = RunOf(text, IsHostPart, ".-");
    return LooksLikeHost(run) ? run.size() : 0;
}

// The first that fits is taken: a mail address begins like a host.
constexpr struct {
    Identifier::Kind kind;
    std::size_t (*lengthAt)(std::string_view text);
} kForms[] = {
    {Identifier::Kind::Mail, MailAt}, {Identifier::Kind::Iqn, IqnAt},   {Identifier::Kind::Ipv6, Ipv6At},
    {Identifier::Kind::Ipv4, Ipv4At}, {Identifier::Kind::Host, HostAt},
};

} // namespace

std::vector<Identifier> IdentifiersIn(const std::string &text) {
    std::vector<Identifier> found;
    const std::string_view all = text;
    for (std::size_t at = 0; at < all.size(); ++at) {
        const bool begins = IsWordPart(all[at]) ? at == 0 || !IsWordPart(all[at - 1]) : all.substr(at, 2) == "::";
        if (!begins) continue;
        for (const auto &form : kForms) {
            const std::size_t length = form.lengthAt(all.substr(at));
            const std::size_t end = at + length;
            if (length == 0 || (end < all.size() && IsWordPart(all[end]) && IsWordPart(all[end - 1]))) continue;
            found.push_back({form.kind, text.substr(at, length)});
            at = end - 1;
            break;
        }
    }
    return found;
}

std::size_t HexIdentifierAt(std::string_view text, std::size_t begin) {
    if (begin > 0 && IsHex(text[begin - 1])) return 0;
    std::size_t digits = 0, group = 0, firstGroup = 0, end = begin;
    bool sameGroups = true;
    for (std::size_t at = begin; at < text.size(); ++at) {
        if (IsHex(text[at])) {
            ++digits;
            ++group;
            end = at + 1;
        } else if (IsOneOf(text[at], ":-.") && end == at && end > begin) {
            if (firstGroup == 0) firstGroup = group;
            sameGroups = sameGroups && group == firstGroup;
            group = 0;
        } else {
            break;
        }
    }
    // Other groups of twelve digits may be a version.
    if (digits == kMacDigits && firstGroup > 0 && (!sameGroups || (firstGroup != 2 && firstGroup != 4))) return 0;
    return digits == kMacDigits || digits >= kWwnDigits ? end - begin : 0;
}

bool LooksLikeHost(std::string_view text) {
    const auto point = text.rfind('.');
    if (point == std::string_view::npos || point == 0 || text.size() - point < 3) return false;
    if (text.find("..") != std::string_view::npos || std::isalpha(static_cast<unsigned char>(text[point + 1])) == 0) {
        return false;
    }
    return std::all_of(text.begin(), text.end(), IsHostPart);
}

} // namespace cim
