#include "cim/broker/classes/Registration.h"

#include "cim/broker/classes/SourceText.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

namespace cim {
namespace {

using Words = std::vector<std::string>;

std::string Trim(const std::string &text) {
    const std::size_t start = text.find_first_not_of(" \t\r");
    return start == std::string::npos ? "" : text.substr(start, text.find_last_not_of(" \t\r") - start + 1);
}

Words WordsOf(const std::string &text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::string OneWord(const Words &words) {
    if (words.size() != 1) throw std::string("one word expected");
    return words[0];
}

void SetTypes(Registration &registration, const Words &words) {
    for (const std::string &word : words) {
        if (SameName(word, "instance"))
            registration.instance = true;
        else if (SameName(word, "association"))
            registration.association = true;
        else if (!SameName(word, "method") && !SameName(word, "indication"))
            throw "unknown type '" + word + "'";
    }
}

void SetUnload(Registration &registration, const Words &words) {
    const std::string word = OneWord(words);
    if (!SameName(word, "never")) throw "'never' expected, found '" + word + "'";
    registration.neverUnload = true;
}

void Ignore(Registration &, const Words &) {} // of sfcb's: says nothing to this broker

// What each key of a stanza does.
constexpr struct {
    const char *name;
    bool needed;
    void (*set)(Registration &, const Words &); // throws the reason
} kKeys[] = {
    {"provider", true, [](Registration &r, const Words &words) { r.provider = OneWord(words); }},
    {"location", true, [](Registration &r, const Words &words) { r.location = OneWord(words); }},
    {"type", true, SetTypes},
    {"namespace", true, [](Registration &r, const Words &words) { r.nameSpaces = words; }},
    {"unload", false, SetUnload},
    {"group", false, Ignore},
    {"user", false, Ignore},
    {"parameters", false, Ignore},
};

bool Overlap(const Registration &a, const Registration &b) {
    return a.className == b.className && ((a.instance && b.instance) || (a.association && b.association)) &&
           std::any_of(a.nameSpaces.begin(), a.nameSpaces.end(),
                       [&](const auto &nameSpace) { return b.In(nameSpace); });
}

class StanzaReader {
public:
    StanzaReader(const ClassTree &known, std::vector<Registration> *registrations)
        : classes(known), all(*registrations) {}

    void Begin(const std::string &heading, int at) {
        Finish();
        if (heading.back() != ']') throw TextError{at, "']' expected at the end of the line"};
        const std::string name = Trim(heading.substr(1, heading.size() - 2));
        const ClassDeclaration *declaration = classes.Find(name);
        if (declaration == nullptr) throw TextError{at, "unknown class '" + name + "'"};
        stanza.className = declaration->name;
        line = at;
    }

    void Set(const std::string &text, int at) {
        const std::size_t colon = text.find(':');
        if (colon == std::string::npos) throw TextError{at, "'KEY: VALUE' or '[CLASS]' expected"};
        if (line == 0) throw TextError{at, "'[CLASS]' expected before the first key"};
        const std::string key = Trim(text.substr(0, colon));
        const Words words = WordsOf(text.substr(colon + 1));
        const auto *known =
            std::find_if(std::begin(kKeys), std::end(kKeys), [&](const auto &row) { return SameName(row.name, key); });
        if (known == std::end(kKeys)) throw TextError{at, "unknown key '" + key + "'"};
        const std::string name = known->name;
        if (!seen.insert(name).second) throw TextError{at, "'" + name + "' is given a second time"};
        if (words.empty()) throw TextError{at, "'" + name + "' has no value"};
        try {
            known->set(stanza, words);
        } catch (const std::string &reason) {
            throw TextError{at, name + ": " + reason};
        }
    }

    void Finish() {
        if (line == 0) return;
        for (const auto &key : kKeys)
            if (key.needed && seen.count(key.name) == 0)
                throw TextError{line, "[" + stanza.className + "] has no '" + key.name + "'"};
        for (const Registration &other : all) {
            if (Overlap(stanza, other)) throw TextError{line, "[" + stanza.className + "] is registered a second time"};
            if (other.provider == stanza.provider && other.location != stanza.location)
                throw TextError{line, "provider '" + stanza.provider + "' is at '" + stanza.location +
                                          "' here and at '" + other.location + "' elsewhere"};
        }
        all.push_back(std::exchange(stanza, {}));
        seen.clear();
        line = 0;
    }

private:
    const ClassTree &classes;
    std::vector<Registration> &all;
    Registration stanza;
    std::set<std::string> seen; // of its keys
    int line = 0;               // where the stanza begins; 0: none has begun
};

} // namespace

bool Registration::In(std::string_view nameSpace) const {
    return std::any_of(nameSpaces.begin(), nameSpaces.end(),
                       [&](const std::string &own) { return SameName(own, nameSpace); });
}

bool ReadRegistrations(std::string_view text, const std::string &name, const ClassTree &classes,
                       std::vector<Registration> *registrations, std::string *error) {
    try {
        std::vector<Registration> all = *registrations;
        StanzaReader reader(classes, &all);
        std::istringstream stream{std::string(text)};
        std::string content;
        for (int line = 1; std::getline(stream, content); ++line) {
            content = Trim(content.substr(0, content.find('#')));
            if (content.empty()) continue;
            content[0] == '[' ? reader.Begin(content, line) : reader.Set(content, line);
        }
        reader.Finish();
        *registrations = std::move(all);
        return true;
    } catch (const TextError &wrong) {
        *error = wrong.In(name);
        return false;
    }
}

} // namespace cim
