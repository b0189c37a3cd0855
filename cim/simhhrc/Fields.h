// Checked reading of one JSON object: every member is asked for by name, and what nobody asked for is a mistake.
#pragma once

#include "cim/simhhrc/JsonValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// A number that may be written as a word.
struct Word {
    const char *text;
    std::uint16_t number;
};
struct Words {
    template <std::size_t N> constexpr Words(const Word (&table)[N]) : rows(table), size(N) {}
    const Word *Find(const std::string &text) const;
    std::string All() const; // for messages: "a", "b", "c"

    const Word *rows;
    std::size_t size;
};

// Throw a Mistake that begins with `what` when the value is of another kind or does not fit.
const std::string &TextOf(const JsonValue &json, const std::string &what);
bool FlagOf(const JsonValue &json, const std::string &what);
std::uint64_t NumberOf(const JsonValue &json, const std::string &what, std::uint64_t highest = UINT64_MAX);
std::uint16_t NumberOrWordOf(const JsonValue &json, const std::string &what, const Words &words);
const JsonValue::List &ListOf(const JsonValue &json, const std::string &what);
const JsonValue::Object &ObjectOf(const JsonValue &json, const std::string &what);

class Fields {
public:
    // `what` names the entry in messages; the JSON must outlive this.
    Fields(const JsonValue &entry, std::string what);

    // Null when absent; a member that is null counts as present.
    const JsonValue *Find(const char *name);
    const JsonValue &Need(const char *name);
    // The members that hold such a value; absent or null: none.
    std::optional<std::string> Text(const char *name);
    std::optional<std::uint64_t> Number(const char *name, std::uint64_t highest = UINT64_MAX);
    bool Flag(const char *name, bool otherwise);
    // The elements of a list, or none when the member is absent.
    const JsonValue::List &List(const char *name);
    // A text, or each of a list of texts; absent or null: none.
    std::vector<std::string> Texts(const char *name);

    // Throws for the first member that nobody asked for.
    void Finish() const;
    [[noreturn]] void Fail(const JsonValue &at, const std::string &reason) const;
    [[noreturn]] void Fail(const std::string &reason) const { Fail(json, reason); }

    const JsonValue &Value() const { return json; }
    std::string What(const char *member) const { return what + ": " + member; }
    void Rename(std::string name) { what = std::move(name); }

private:
    const JsonValue *FindNotNull(const char *name);

    const JsonValue &json;
    std::string what;
    std::vector<bool> known; // per member
};

} // namespace sim
