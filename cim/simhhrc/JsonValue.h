// JSON whose every value knows its line and whose objects keep the order in which they were written.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace sim {

// What is wrong in a description, and where. Thrown by everything that reads one; LoadDescription is where it ends.
struct Mistake : std::runtime_error {
    Mistake(int at, const std::string &reason) : std::runtime_error(reason), line(at) {}
    int line;
};

struct JsonValue {
    struct Member;
    using List = std::vector<JsonValue>;
    using Object = std::vector<Member>;
    // Integers are unsigned where they are not negative, so that all 64 bits are exact.
    std::variant<std::nullptr_t, bool, std::uint64_t, std::int64_t, double, std::string, List, Object> value = nullptr;
    int line = 0;

    template <class T> const T *As() const { return std::get_if<T>(&value); }
    bool IsNull() const { return As<std::nullptr_t>() != nullptr; }
};

struct JsonValue::Member {
    std::string name;
    JsonValue json;
};

// Throws a Mistake when the text is not JSON, has a member twice or a text with a zero character, or nests too deeply.
JsonValue ParseJson(std::string_view text);

} // namespace sim
