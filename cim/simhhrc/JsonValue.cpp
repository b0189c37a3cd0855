#include "cim/simhhrc/JsonValue.h"

#include <nlohmann/json.hpp>

#include <iterator>
#include <unordered_set>

namespace sim {
namespace {

constexpr std::size_t kDeepest = 64; // trees are freed by recursion

// Where the parser is. It reads no further than the end of a token, except behind a number: one character.
struct Position {
    int line = 1;
    char last = 0;
};

struct CountingIterator {
    using iterator_category = std::forward_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = const char &;

    const char *at;
    Position *position;

    reference operator*() const { return *at; }
    CountingIterator &operator++() {
        position->last = *at++;
        if (position->last == '\n') ++position->line;
        return *this;
    }
    bool operator!=(const CountingIterator &other) const { return at != other.at; }
};

class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit TreeBuilder(const Position &parser) : position(parser) {}
    JsonValue root;

    bool null() override { return Leaf(nullptr); }
    bool boolean(bool value) override { return Leaf(value); }
    bool number_integer(number_integer_t value) override { return Number(std::int64_t{value}); }
    bool number_unsigned(number_unsigned_t value) override { return Number(std::uint64_t{value}); }
    bool number_float(number_float_t value, const string_t &) override { return Number(value); }
    bool string(string_t &text) override {
        if (text.find('\0') != std::string::npos) throw Mistake(position.line, "a text cannot hold a zero character");
        return Leaf(std::move(text));
    }
    bool binary(binary_t &) override { return false; } // not in texts
    bool start_object(std::size_t) override { return Open(JsonValue::Object{}); }
    bool start_array(std::size_t) override { return Open(JsonValue::List{}); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }
    bool key(string_t &name) override {
        if (!open.back().names.insert(name).second) {
            throw Mistake(position.line, "member \"" + name + "\" is there twice");
        }
        std::get<JsonValue::Object>(open.back().json->value).push_back({std::move(name), {}});
        return true;
    }
    bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &problem) override {
        // "[json.exception...] parse error at line L, column C: reason"
        std::string reason = problem.what();
        const std::size_t place = reason.find("column ");
        const std::size_t colon = place == std::string::npos ? place : reason.find(": ", place);
        if (colon != std::string::npos) reason.erase(0, colon + 2);
        // What the parser last read can be long, and no text at all.
        throw Mistake(position.line, reason.substr(0, reason.find("; last read")));
    }

private:
    struct OpenNode {
        JsonValue *json; // not moved while it is open: nothing is added behind it
        std::unordered_set<std::string> names;
    };

    template <class T> JsonValue &Place(T &&value, int line) {
        JsonValue json{std::forward<T>(value), line};
        if (open.empty()) return root = std::move(json);
        if (auto *list = std::get_if<JsonValue::List>(&open.back().json->value))
            return list->emplace_back(std::move(json));
        return std::get<JsonValue::Object>(open.back().json->value).back().json = std::move(json);
    }
    template <class T> bool Leaf(T &&value) {
        Place(std::forward<T>(value), position.line);
        return true;
    }
    template <class T> bool Number(T value) {
        Place(value, position.line - (position.last == '\n' ? 1 : 0));
        return true;
    }
    template <class T> bool Open(T &&empty) {
        if (open.size() == kDeepest) throw Mistake(position.line, "nested too deeply");
        open.push_back({&Place(std::forward<T>(empty), position.line), {}});
        return true;
    }
    bool Close() {
        open.pop_back();
        return true;
    }

    const Position &position;
    std::vector<OpenNode> open;
};

} // namespace

JsonValue ParseJson(std::string_view text) {
    Position position;
    TreeBuilder builder(position);
    const CountingIterator first{text.data(), &position}, last{text.data() + text.size(), &position};
    nlohmann::json::sax_parse(first, last, &builder);
    return std::move(builder.root);
}

} // namespace sim
