#include "cim/recording/Pseudonyms.h"

#include "cim/broker/classes/Value.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace cim {

namespace {

constexpr std::size_t kShortestSerial = 4; // shorter ones, such as "n/a", are no serial numbers
constexpr std::size_t kShortestHost = 2;
constexpr std::size_t kMostJoinedDigits = 8; // in numbers joined to one another; more may be somebody's telephone's
constexpr std::string_view kJoints = "._:-/+#";

bool IsJoined(char c) { return IsWordPart(c) || kJoints.find(c) != std::string_view::npos; }

template <class Visit> void ForEachWord(const std::string &text, const Visit &visit) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t length = WordLength(text, at);
        if (length > 0) visit(text.substr(at, length));
        at += length;
    }
}

bool BeginsWord(std::string_view text, std::size_t at) {
    return at == 0 || at >= text.size() || !IsWordPart(text[at - 1]) || !IsWordPart(text[at]);
}

std::string DigitsOf(const std::string &text) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), IsHex);
    return LowerCase(digits);
}

} // namespace

void Pseudonyms::AddHost(std::string host) {
    host.resize(std::min(host.find('/'), host.size()));
    if (host.size() > 2 && host.front() == '[') host = host.substr(1, host.find(']') - 1); // [::1]:5988
    if (const auto colon = host.find(':'); colon == host.rfind(':')) host.resize(std::min(colon, host.size()));
    if (host.empty() || SameName(host, "localhost") || host == "::1" || host.rfind("127.", 0) == 0) return;
    const auto identifiers = IdentifiersIn(host);
    if (!identifiers.empty() && identifiers[0].text == host && identifiers[0].kind != Identifier::Kind::Host) {
        others.emplace(identifiers[0].kind, LowerCase(host));
    } else {
        AddFoundHost(host, true);
    }
}

void Pseudonyms::AddFoundHost(const std::string &host, bool certain) {
    bool common = true;
    ForEachWord(host, [&](const std::string &word) { common = common && vocabulary.IsCommon(word); });
    if (common && !certain) return; // "pool.free"
    bool &known = hosts[LowerCase(host)];
    known = known || certain;
    Learn(host.substr(0, host.rfind('.')), {true, true});
}

void Pseudonyms::AddSerial(const std::string &text) {
    bool plain = true; // "Not available"
    ForEachWord(text, [&](const std::string &word) { plain = plain && vocabulary.IsCommon(word) && !HasDigit(word); });
    if (!plain && text.size() >= kShortestSerial) serials.insert(LowerCase(text));
}

void Pseudonyms::Learn(const std::string &text, Reading how) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t type = ClassAt(text, at);
        const std::size_t length = std::max(type, WordLength(text, at));
        if (length > type) {
            const std::string word = text.substr(at, length);
            words.insert(LowerCase(word));
            if (how.naming && !vocabulary.IsCommon(word)) names.insert(LowerCase(word));
        }
        at += std::max<std::size_t>(length, 1);
    }
    for (const Identifier &identifier : IdentifiersIn(text)) {
        const auto at = identifier.text.find('@');
        if (identifier.kind == Identifier::Kind::Mail) {
            const std::string user = identifier.text.substr(0, at);
            if (!vocabulary.IsCommon(user)) users.insert(LowerCase(user));
            AddFoundHost(identifier.text.substr(at + 1), false);
        } else if (how.version &&
                   (identifier.kind == Identifier::Kind::Ipv4 || identifier.kind == Identifier::Kind::Host)) {
            continue;
        } else if (identifier.kind == Identifier::Kind::Host) {
            AddFoundHost(identifier.text, false);
        } else {
            others.emplace(identifier.kind, LowerCase(identifier.text));
        }
    }
}

void Pseudonyms::Settle() {
    for (const std::string &serial : serials) secrets[serial] = Unused("SN", serial.size());
    for (const std::string &user : users) secrets[user] = Unused("user", 0);
    for (const auto &[kind, text] : others) secrets[text] = StandInFor(kind);
    std::map<std::string, std::string> shortNames;
    std::set<std::string> claimed; // by a full name; those of other hosts get a stand-in of their own
    for (const auto &[host, certain] : hosts) {
        const std::string name = LooksLikeHost(host) ? host.substr(0, host.find('.')) : host;
        const auto [known, isNew] = shortNames.emplace(name, std::string());
        if (isNew) known->second = Unused("host", 0);
        const bool another = host != name && !claimed.insert(name).second;
        const std::string standIn = another ? Unused("host", 0) : known->second;
        secrets[host] = host == name ? standIn : standIn + ".example";
        if (name.size() >= kShortestHost && (certain || !vocabulary.IsCommon(name))) {
            secrets.emplace(name, known->second);
        }
    }
    for (const auto &secret : secrets) byFirst[static_cast<unsigned char>(secret.first[0])].emplace_back(secret);
    for (auto &some : byFirst) {
        std::stable_sort(some.begin(), some.end(),
                         [](const Secret &a, const Secret &b) { return a.first.size() > b.first.size(); });
    }
}

std::string Pseudonyms::Replace(const std::string &text) {
    const std::string lower = LowerCase(text);
    std::string replaced;
    std::size_t joinedUntil = 0;
    bool manyDigits = false; // up to there
    for (std::size_t at = 0; at < text.size();) {
        if (at >= joinedUntil) {
            const auto end = std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), IsJoined);
            joinedUntil = std::max(at + 1, static_cast<std::size_t>(end - text.begin()));
            manyDigits = static_cast<std::size_t>(std::count_if(text.begin() + static_cast<std::ptrdiff_t>(at), end,
                                                                IsDigit)) > kMostJoinedDigits;
        }
        std::size_t length = ClassAt(text, at);
        if (length > 0) {
            replaced.append(text, at, length);
        } else if (const Secret *known = SecretAt(lower, at); known != nullptr) {
            length = known->first.size();
            replaced += known->second;
        } else if (length = HexIdentifierAt(text, at); length > 0) {
            replaced += InFormOf(text.substr(at, length));
        } else if (length = WordLength(text, at); length > 0) {
            // An identifier within a word is replaced by itself.
            for (std::size_t i = 1; i < length; ++i) {
                if (HexIdentifierAt(text, at + i) > 0) length = i;
            }
            const std::string word = text.substr(at, length);
            const bool stays = IsCommon(word) && !(manyDigits && HasDigit(word));
            replaced += stays ? word : WordFor(word);
        } else {
            length = 1;
            replaced += text[at];
        }
        at += length;
    }
    return replaced;
}

bool Pseudonyms::HoldsKnown(const std::string &text) const {
    const std::string lower = LowerCase(text);
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (SecretAt(lower, at) != nullptr || HexIdentifierAt(text, at) > 0) return true;
    }
    bool holds = false;
    ForEachWord(lower, [&](const std::string &word) { holds = holds || names.count(word) != 0; });
    return holds;
}

std::string Pseudonyms::Unused(const std::string &prefix, std::size_t size) {
    const std::size_t width = std::max(size, prefix.size() + 1) - prefix.size();
    std::string made;
    do {
        made = fmt::format("{}{:0{}}", prefix, ++counts[prefix], width);
    } while (words.count(LowerCase(made)) != 0);
    return made;
}

// Of the ranges and names that are set aside for tests and examples.
std::string Pseudonyms::StandInFor(Identifier::Kind kind) {
    const std::size_t number = ++addresses[kind];
    if (kind == Identifier::Kind::Ipv4)
        return fmt::format("198.{}.{}.{}", 18 + number / 65536, number / 256 % 256, number % 256);
    if (kind == Identifier::Kind::Ipv6) return fmt::format("2001:db8::{:x}", number);
    return fmt::format("iqn.2001-04.com.example:{}", number);
}

std::string Pseudonyms::WordFor(const std::string &word) {
    const auto [known, isNew] = wordsFor.emplace(word, std::string());
    if (isNew) known->second = Unused("x", word.size());
    return known->second;
}

// What stands for a hexadecimal identifier, with its separators and in its case. The first digit, which tells what kind
// of WWN it is, stays.
std::string Pseudonyms::InFormOf(const std::string &text) {
    const std::string digits = DigitsOf(text);
    const std::size_t number = hexNumbers.emplace(digits, hexNumbers.size() + 1).first->second;
    const std::string pseudonym = fmt::format("{}{:0{}x}", digits[0], number, digits.size() - 1);
    const bool upper = std::any_of(text.begin(), text.end(), [](unsigned char c) { return std::isupper(c) != 0; });
    std::string replaced = text;
    auto next = pseudonym.begin();
    for (char &c : replaced) {
        if (IsHex(c)) c = upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(*next++))) : *next++;
    }
    return replaced;
}

const Pseudonyms::Secret *Pseudonyms::SecretAt(const std::string &lower, std::size_t begin) const {
    if (!BeginsWord(lower, begin)) return nullptr;
    for (const auto &secret : byFirst[static_cast<unsigned char>(lower[begin])]) {
        if (lower.compare(begin, secret.first.size(), secret.first) != 0) continue;
        if (BeginsWord(lower, begin + secret.first.size())) return &secret;
    }
    return nullptr;
}

std::size_t Pseudonyms::ClassAt(const std::string &text, std::size_t begin) const {
    const auto isPart = [](char c) { return IsWordPart(c) || c == '_'; };
    if (begin > 0 && isPart(text[begin - 1])) return 0;
    const auto first = text.begin() + static_cast<std::ptrdiff_t>(begin);
    const std::string_view name(text.data() + begin,
                                static_cast<std::size_t>(std::find_if_not(first, text.end(), isPart) - first));
    return !name.empty() && vocabulary.IsClass(name) ? name.size() : 0;
}

} // namespace cim
