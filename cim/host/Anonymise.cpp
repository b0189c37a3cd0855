#include "Anonymise.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <set>

namespace cim {

namespace {

constexpr std::size_t kHexDigits = 16;     // as many at least make a WWN or the like
constexpr std::size_t kShortestInside = 6; // shorter secrets are replaced as whole words only
constexpr std::size_t kShortestWord = 4;   // and those that are shorter still, such as "n/a", not at all
constexpr std::size_t kShortestHost = 2;

bool IsAlnum(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }
bool IsHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool Contains(const std::string &text, const char *part) { return LowerCase(text).find(part) != std::string::npos; }

// Calls `visit` for each text in the values.
template <class Values, class Visit> void ForEachText(Values &values, const Visit &visit) {
    for (auto &[name, value] : values) {
        if (auto *text = std::get_if<std::string>(&value.payload)) visit(name, *text);
        if (auto *elements = std::get_if<Value::Elements>(&value.payload)) {
            for (auto &element : *elements) {
                if (auto *text = std::get_if<std::string>(&element.payload)) visit(name, *text);
            }
        }
    }
}

// What a name in a text must look like to be a host's: labels with points between them, the last not a number.
bool LooksLikeHost(const std::string &text) {
    const auto point = text.rfind('.');
    if (point == std::string::npos || point == 0 || point + 1 == text.size()) return false;
    if (std::isalpha(static_cast<unsigned char>(text[point + 1])) == 0) return false;
    return std::all_of(text.begin(), text.end(), [](char c) { return IsAlnum(c) || c == '-' || c == '.'; });
}

class Pseudonyms {
public:
    void AddSerial(const std::string &serial) {
        if (serial.size() >= kShortestWord) serials.insert(serial);
    }

    void AddHost(std::string host) {
        if (host.size() > 2 && host.front() == '[') host = host.substr(1, host.find(']') - 1); // [::1]:5988
        if (const auto colon = host.find(':'); colon == host.rfind(':')) host.resize(std::min(colon, host.size()));
        host = LowerCase(host);
        if (host.empty() || host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0) return;
        const std::string name = LooksLikeHost(host) ? host.substr(0, host.find('.')) : host;
        const auto [known, isNew] = hostsByName.emplace(name, std::string());
        if (isNew) known->second = fmt::format("host{}", hostsByName.size());
        secrets[host] = known->second;
        if (name.size() >= kShortestHost) secrets[name] = known->second;
    }

    // The identifiers of a text, which may stand within words elsewhere.
    void AddHexIn(const std::string &text) {
        for (std::size_t at = 0; at < text.size(); ++at) {
            const std::size_t length = HexAt(text, at, true);
            if (length == 0) continue;
            const std::string digits = DigitsOf(text.substr(at, length));
            secrets.emplace(digits, PseudonymOf(digits));
            at += length;
        }
    }

    // To be called once all are known.
    void Settle() {
        std::size_t count = 0;
        for (const std::string &serial : serials) {
            std::string pseudonym;
            do {
                pseudonym = fmt::format("SN{:0{}}", ++count, serial.size() - 2);
            } while (serials.count(pseudonym) != 0);
            secrets.emplace(LowerCase(serial), pseudonym);
        }
        for (const auto &secret : secrets) byFirst[static_cast<unsigned char>(secret.first[0])].emplace_back(secret);
        for (auto &some : byFirst) {
            std::stable_sort(some.begin(), some.end(),
                             [](const Secret &a, const Secret &b) { return a.first.size() > b.first.size(); });
        }
    }

    std::string Replace(const std::string &text) {
        const std::string lower = LowerCase(text);
        std::string replaced;
        for (std::size_t at = 0; at < text.size();) {
            std::size_t length = HexAt(text, at, true);
            const Secret *known = length == 0 ? SecretAt(lower, at) : nullptr;
            if (length == 0 && known == nullptr) {
                length = HexAt(text, at, false);
                if (HoldsSecret(lower, at, length)) length = 0;
            }
            if (known != nullptr) {
                replaced += known->second;
                length = known->first.size();
            } else if (length > 0) {
                replaced += InFormOf(text.substr(at, length));
            } else {
                replaced += text[at];
                length = 1;
            }
            at += length;
        }
        return replaced;
    }

private:
    using Secret = std::pair<std::string, std::string>; // in lower case, and what stands for it

    // The length of the hexadecimal identifier that begins there: digits, perhaps with single colons or dashes.
    static std::size_t HexAt(const std::string &text, std::size_t begin, bool wholeWord) {
        const bool afterAlnum = begin > 0 && IsAlnum(text[begin - 1]);
        const bool prefixed = begin >= 2 && text[begin - 2] == '0' && std::tolower(text[begin - 1]) == 'x';
        if (wholeWord && afterAlnum && !prefixed) return 0;
        if (!wholeWord && begin > 0 && IsHex(text[begin - 1])) return 0;
        std::size_t digits = 0, end = begin;
        for (std::size_t at = begin; at < text.size(); ++at) {
            if (IsHex(text[at])) {
                ++digits;
                end = at + 1;
            } else if ((text[at] != ':' && text[at] != '-') || end != at) {
                break;
            }
        }
        if (wholeWord && end < text.size() && IsAlnum(text[end])) return 0;
        return digits >= kHexDigits ? end - begin : 0;
    }

    static std::string DigitsOf(const std::string &text) {
        std::string digits;
        std::copy_if(text.begin(), text.end(), std::back_inserter(digits), IsHex);
        return LowerCase(digits);
    }

    // The first digit, which tells what kind of WWN it is, stays.
    std::string PseudonymOf(const std::string &digits) {
        const std::size_t number = hexNumbers.emplace(digits, hexNumbers.size() + 1).first->second;
        return fmt::format("{}{:0{}x}", digits[0], number, digits.size() - 1);
    }

    // What stands for a hexadecimal identifier, with its separators and in its case.
    std::string InFormOf(const std::string &text) {
        const std::string pseudonym = PseudonymOf(DigitsOf(text));
        const bool upper = std::any_of(text.begin(), text.end(), [](unsigned char c) { return std::isupper(c) != 0; });
        std::string replaced = text;
        auto next = pseudonym.begin();
        for (char &c : replaced) {
            if (IsHex(c)) c = upper ? static_cast<char>(std::toupper(static_cast<unsigned char>(*next++))) : *next++;
        }
        return replaced;
    }

    const Secret *SecretAt(const std::string &lower, std::size_t begin) const {
        for (const auto &secret : byFirst[static_cast<unsigned char>(lower[begin])]) {
            const std::size_t end = begin + secret.first.size();
            if (lower.compare(begin, secret.first.size(), secret.first) != 0) continue;
            const bool word =
                (begin == 0 || !IsAlnum(lower[begin - 1])) && (end == lower.size() || !IsAlnum(lower[end]));
            if (word || secret.first.size() >= kShortestInside) return &secret;
        }
        return nullptr;
    }

    bool HoldsSecret(const std::string &lower, std::size_t begin, std::size_t length) const {
        for (std::size_t at = begin; at < begin + length; ++at) {
            if (SecretAt(lower, at) != nullptr) return true;
        }
        return false;
    }

    std::set<std::string> serials;
    std::map<std::string, std::string> hostsByName; // by short name
    std::map<std::string, std::string> secrets;     // in lower case
    std::map<std::string, std::size_t> hexNumbers;  // by digits in lower case
    std::array<std::vector<Secret>, 256> byFirst;   // character; the longest first
};

// Where a list of identifiers says beside each what it is.
void FindDescribedSerials(const Instance &object, Pseudonyms &pseudonyms) {
    const Value *infos = object.Property("OtherIdentifyingInfo");
    const Value *descriptions = object.Property("IdentifyingDescriptions");
    const auto *values = infos != nullptr ? infos->As<Value::Elements>() : nullptr;
    const auto *names = descriptions != nullptr ? descriptions->As<Value::Elements>() : nullptr;
    if (values == nullptr || names == nullptr) return;
    for (std::size_t i = 0; i < std::min(values->size(), names->size()); ++i) {
        const auto *name = (*names)[i].As<std::string>();
        const auto *value = (*values)[i].As<std::string>();
        if (name != nullptr && value != nullptr && Contains(*name, "serial")) pseudonyms.AddSerial(*value);
    }
}

} // namespace

void Anonymise(VendorModel *model, const std::vector<std::string> &hosts) {
    Pseudonyms pseudonyms;
    for (const std::string &host : hosts) pseudonyms.AddHost(host);
    for (const std::string &host : model->hosts) pseudonyms.AddHost(host);
    for (const Instance &object : model->objects) {
        FindDescribedSerials(object, pseudonyms);
        const auto find = [&](const std::string &name, const std::string &text) {
            pseudonyms.AddHexIn(text);
            if (Contains(name, "serial")) pseudonyms.AddSerial(text);
            if ((SameName(name, "SystemName") || SameName(name, "Name")) && LooksLikeHost(text)) {
                pseudonyms.AddHost(text);
            }
        };
        ForEachText(object.path->keys, find);
        ForEachText(object.properties, find);
    }
    pseudonyms.Settle();
    const auto replace = [&](const std::string &, std::string &text) { text = pseudonyms.Replace(text); };
    for (Instance &object : model->objects) {
        ObjectPath path = object.path;
        ForEachText(path.keys, replace);
        object.path = std::move(path);
        ForEachText(object.properties, replace);
    }
    model->hosts.clear();
}

} // namespace cim
