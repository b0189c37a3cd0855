#include "cim/simhhrc/Fields.h"

namespace sim {
namespace {

template <class T> const T &Expect(const Json &json, const std::string &what, const char *kind) {
    if (const T *value = json.As<T>()) return *value;
    throw Mistake(json.line, what + " must be " + kind);
}

} // namespace

const Name *Names::Find(const std::string &text) const {
    for (std::size_t i = 0; i < size; ++i) {
        if (text == rows[i].text) return &rows[i];
    }
    return nullptr;
}

std::string Names::All() const {
    std::string all;
    for (std::size_t i = 0; i < size; ++i) (all += i == 0 ? "\"" : ", \"").append(rows[i].text) += '"';
    return all;
}

const std::string &TextOf(const Json &json, const std::string &what) {
    return Expect<std::string>(json, what, "a text");
}

bool FlagOf(const Json &json, const std::string &what) { return Expect<bool>(json, what, "true or false"); }

std::uint64_t NumberOf(const Json &json, const std::string &what, std::uint64_t highest) {
    const std::uint64_t number = Expect<std::uint64_t>(json, what, "a whole number, not negative");
    if (number > highest) throw Mistake(json.line, what + " must be at most " + std::to_string(highest));
    return number;
}

std::uint16_t NumberOrNameOf(const Json &json, const std::string &what, const Names &names) {
    const std::string *text = json.As<std::string>();
    if (text == nullptr) return static_cast<std::uint16_t>(NumberOf(json, what, UINT16_MAX));
    if (const Name *name = names.Find(*text)) return name->number;
    throw Mistake(json.line, what + ": \"" + *text + "\" is none of " + names.All());
}

const Json::List &ListOf(const Json &json, const std::string &what) { return Expect<Json::List>(json, what, "a list"); }

const Json::Object &ObjectOf(const Json &json, const std::string &what) {
    return Expect<Json::Object>(json, what, "an object");
}

Fields::Fields(const Json &entry, std::string name) : json(entry), what(std::move(name)) {
    known.resize(ObjectOf(json, what).size());
}

const Json *Fields::Find(const char *name) {
    const Json::Object &members = *json.As<Json::Object>();
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (members[i].name == name) {
            known[i] = true;
            return &members[i].json;
        }
    }
    return nullptr;
}

const Json &Fields::Need(const char *name) {
    if (const Json *member = Find(name)) return *member;
    Fail("\"" + std::string(name) + "\" is missing");
}

std::optional<std::string> Fields::Text(const char *name) {
    const Json *member = Find(name);
    if (member == nullptr || member->IsNull()) return std::nullopt;
    return TextOf(*member, What(name));
}

std::optional<std::uint64_t> Fields::Number(const char *name, std::uint64_t highest) {
    const Json *member = Find(name);
    if (member == nullptr || member->IsNull()) return std::nullopt;
    return NumberOf(*member, What(name), highest);
}

bool Fields::Flag(const char *name, bool otherwise) {
    const Json *member = Find(name);
    return member == nullptr ? otherwise : FlagOf(*member, What(name));
}

const Json::List &Fields::List(const char *name) {
    static const Json::List none;
    const Json *member = Find(name);
    return member == nullptr ? none : ListOf(*member, What(name));
}

std::vector<std::string> Fields::Texts(const char *name) {
    const Json *member = Find(name);
    if (member == nullptr || member->IsNull()) return {};
    if (const auto *text = member->As<std::string>()) return {*text};
    std::vector<std::string> texts;
    for (const Json &item : ListOf(*member, What(name))) texts.push_back(TextOf(item, What(name)));
    return texts;
}

void Fields::Finish() const {
    const Json::Object &members = *json.As<Json::Object>();
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (!known[i]) Fail(members[i].json, "\"" + members[i].name + "\" is no member that it can have");
    }
}

void Fields::Fail(const Json &at, const std::string &reason) const { throw Mistake(at.line, what + ": " + reason); }

} // namespace sim
