#include "cim/broker/classes/Registration.h"

#include "cim/broker/classes/MofLexer.h"
#include "cim/broker/objects/Value.h"

#include <algorithm>

namespace cim {
namespace {

std::string_view Trim(std::string_view text) {
    const std::size_t start = text.find_first_not_of(" \t\r");
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(" \t\r") - start + 1);
}

std::vector<std::string> Words(std::string_view text) {
    std::vector<std::string> words;
    while (!(text = Trim(text)).empty()) {
        words.emplace_back(text.substr(0, text.find_first_of(" \t")));
        text.remove_prefix(words.back().size());
    }
    return words;
}

struct Stanza {
    Registration registration;
    int line = 0;
    std::vector<std::string> keysSeen;
};

std::string OneWord(std::string_view value) {
    const std::vector<std::string> words = Words(value);
    if (words.size() != 1) throw std::string("one word expected");
    return words[0];
}

void SetTypes(Registration &registration, std::string_view value) {
    for (const std::string &word : Words(value)) {
        if (SameName(word, "instance"))
            registration.instance = true;
        else if (SameName(word, "association"))
            registration.association = true;
        else if (!SameName(word, "method") && !SameName(word, "indication"))
            throw "unknown type '" + word + "'";
    }
}

void SetUnload(Registration &registration, std::string_view value) {
    const std::string word = OneWord(value);
    if (!SameName(word, "never")) throw "'never' expected, found '" + word + "'";
    registration.neverUnload = true;
}

// What each key of a stanza does. sfcb's further keys say nothing to this broker.
constexpr struct {
    const char *name;
    bool needed;
    void (*set)(Registration &, std::string_view value); // throws the reason
} kKeys[] = {
    {"provider", true, [](Registration &r, std::string_view value) { r.provider = OneWord(value); }},
    {"location", true, [](Registration &r, std::string_view value) { r.location = OneWord(value); }},
    {"type", true, SetTypes},
    {"namespace", true, [](Registration &r, std::string_view value) { r.nameSpaces = Words(value); }},
    {"unload", false, SetUnload},
    {"group", false, [](Registration &, std::string_view) {}},
    {"user", false, [](Registration &, std::string_view) {}},
    {"parameters", false, [](Registration &, std::string_view) {}},
};

void SetKey(Stanza &stanza, std::string_view key, std::string_view value, int line) {
    const auto *known =
        std::find_if(std::begin(kKeys), std::end(kKeys), [&](const auto &row) { return SameName(row.name, key); });
    if (known == std::end(kKeys)) throw TextError{line, "unknown key '" + std::string(key) + "'"};
    if (std::find(stanza.keysSeen.begin(), stanza.keysSeen.end(), known->name) != stanza.keysSeen.end())
        throw TextError{line, "'" + std::string(known->name) + "' is given a second time"};
    if (value.empty()) throw TextError{line, "'" + std::string(known->name) + "' has no value"};
    try {
        known->set(stanza.registration, value);
    } catch (const std::string &reason) {
        throw TextError{line, std::string(known->name) + ": " + reason};
    }
    stanza.keysSeen.emplace_back(known->name);
}

bool Overlap(const Registration &a, const Registration &b) {
    return SameName(a.className, b.className) && ((a.instance && b.instance) || (a.association && b.association)) &&
           std::any_of(a.nameSpaces.begin(), a.nameSpaces.end(),
                       [&](const auto &nameSpace) { return b.In(nameSpace); });
}

void Finish(Stanza &stanza, std::vector<Registration> &all) {
    Registration &registration = stanza.registration;
    for (const auto &key : kKeys)
        if (key.needed && std::find(stanza.keysSeen.begin(), stanza.keysSeen.end(), key.name) == stanza.keysSeen.end())
            throw TextError{stanza.line, "[" + registration.className + "] has no '" + key.name + "'"};
    for (const Registration &other : all) {
        if (Overlap(registration, other))
            throw TextError{stanza.line, "[" + registration.className + "] is registered a second time"};
        if (other.provider == registration.provider && other.location != registration.location)
            throw TextError{stanza.line, "provider '" + registration.provider + "' is at '" + registration.location +
                                             "' here and at '" + other.location + "' elsewhere"};
    }
    all.push_back(std::move(registration));
}

Stanza Begin(std::string_view heading, int line, const ClassTree &classes) {
    if (heading.back() != ']') throw TextError{line, "']' expected at the end of the line"};
    Stanza stanza;
    stanza.line = line;
    const std::string name(Trim(heading.substr(1, heading.size() - 2)));
    const ClassDeclaration *declaration = classes.Find(name);
    if (declaration == nullptr) throw TextError{line, "unknown class '" + name + "'"};
    stanza.registration.className = declaration->name;
    return stanza;
}

} // namespace

bool Registration::In(std::string_view nameSpace) const {
    return std::any_of(nameSpaces.begin(), nameSpaces.end(),
                       [&](const std::string &own) { return SameName(own, nameSpace); });
}

bool ReadRegistrations(std::string_view text, const std::string &name, const ClassTree &classes,
                       std::vector<Registration> *registrations, std::string *error) {
    try {
        std::vector<Registration> all = *registrations;
        std::vector<Stanza> open; // at most one
        int line = 0;
        while (!text.empty()) {
            ++line;
            const std::size_t end = std::min(text.find('\n'), text.size());
            std::string_view content = text.substr(0, end);
            text.remove_prefix(std::min(end + 1, text.size()));
            content = Trim(content.substr(0, content.find('#')));
            if (content.empty()) continue;
            if (content[0] == '[') {
                if (!open.empty()) Finish(open[0], all);
                open.assign(1, Begin(content, line, classes));
                continue;
            }
            const std::size_t colon = content.find(':');
            if (colon == std::string_view::npos) throw TextError{line, "'KEY: VALUE' or '[CLASS]' expected"};
            if (open.empty()) throw TextError{line, "'[CLASS]' expected before the first key"};
            SetKey(open[0], Trim(content.substr(0, colon)), Trim(content.substr(colon + 1)), line);
        }
        if (!open.empty()) Finish(open[0], all);
        *registrations = std::move(all);
        return true;
    } catch (const TextError &wrong) {
        *error = name + ":" + std::to_string(wrong.line) + ": " + wrong.reason;
        return false;
    }
}

} // namespace cim
