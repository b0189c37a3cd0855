#include "cim/simhhrc/Fields.h"

namespace sim {
namespace {

template <class T> const T &Expect(const JsonValue &json, const std::string &what, const char *kind) {
    if (const T *value = json.As<T>()) return *value;
    throw Mistake(json.line, what + " must be " + kind);
}

} // namespace

const Word *Words::Find(const std::string &text) const {
    for (std::size_t i = 0; i < size; ++i) {
        if (text == rows[i].text) return &rows[i];
    }
    return nullptr;
}

std::string Words::All() const {
    std::string all;
    for (std::size_t i = 0; i < size; ++i) (all += i == 0 ? "\"" : ", \"").append(rows[i].text) += '"';
    return all;
}

const std::string &TextOf(const JsonValue &json, const std::string &what) {
    return Expect<std::string>(json, what, "a text");
}

bool FlagOf(const JsonValue &json, const std::string &what) { return Expect<bool>(json, what, "true or false"); }

std::uint64_t NumberOf(const JsonValue &json, const std::string &what, std::uint64_t highest) {
    const std::uint64_t number = Expect<std::uint64_t>(json, what, "a whole number, not negative");
    if (number > highest) throw Mistake(json.line, what + " must be at most " + std::to_string(highest));
    return number;
}

std::uint16_t NumberOrWordOf(const JsonValue &json, const std::string &what, const Words &words) {
    const std::string *text = json.As<std::string>();
    if (text == nullptr) return static_cast<std::uint16_t>(NumberOf(json, what, UINT16_MAX));
    if (const Word *word = words.Find(*text)) return word->number;
    throw Mistake(json.line, what + ": \"" + *text + "\" is none of " + words.All());
}

const JsonValue::List &ListOf(const JsonValue &json, const std::string &what) {
    return Expect<JsonValue::List>(json, what, "a list");
}

const JsonValue::Object &ObjectOf(const JsonValue &json, const std::string &what) {
    return Expect<JsonValue::Object>(json, what, "an object");
}

Fields::Fields(const JsonValue &entry, std::string name) : json(entry), what(std::move(name)) {
    known.resize(ObjectOf(json, what).size());
}

const JsonValue *Fields::Find(const char *name) {
    const JsonValue::Object &members = *json.As<JsonValue::Object>();
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (members[i].name == name) {
            known[i] = true;
            return &members[i].json;
        }
    }
    return nullptr;
}

const JsonValue &Fields::Need(const char *name) {
    if (const JsonValue *member = Find(name)) return *member;
    Fail("\"" + std::string(name) + "\" is missing");
}

const JsonValue *Fields::FindNotNull(const char *name) {
    const JsonValue *member = Find(name);
    return member != nullptr && !member->IsNull() ? member : nullptr;
}

std::optional<std::string> Fields::Text(const char *name) {
    const JsonValue *member = FindNotNull(name);
    return member != nullptr ? std::optional(TextOf(*member, What(name))) : std::nullopt;
}

std::optional<std::uint64_t> Fields::Number(const char *name, std::uint64_t highest) {
    const JsonValue *member = FindNotNull(name);
    return member != nullptr ? std::optional(NumberOf(*member, What(name), highest)) : std::nullopt;
}

bool Fields::Flag(const char *name, bool otherwise) {
    const JsonValue *member = Find(name);
    return member == nullptr ? otherwise : FlagOf(*member, What(name));
}

const JsonValue::List &Fields::List(const char *name) {
    static const JsonValue::List none;
    const JsonValue *member = Find(name);
    return member == nullptr ? none : ListOf(*member, What(name));
}

std::vector<std::string> Fields::Texts(const char *name) {
    const JsonValue *member = FindNotNull(name);
    if (member == nullptr) return {};
    if (const auto *text = member->As<std::string>()) return {*text};
    std::vector<std::string> texts;
    for (const JsonValue &item : ListOf(*member, What(name))) texts.push_back(TextOf(item, What(name)));
    return texts;
}

void Fields::Finish() const {
    const JsonValue::Object &members = *json.As<JsonValue::Object>();
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (!known[i]) Fail(members[i].json, "\"" + members[i].name + "\" is not a member that it can have");
    }
}

void Fields::Fail(const JsonValue &at, const std::string &reason) const {
    throw Mistake(at.line, what + ": " + reason);
}

} // namespace sim
