#include "cim/simhhrc/Ranges.h"

#include "cim/simhhrc/Fields.h"

#include <algorithm>
#include <charconv>
#include <map>

namespace sim {
namespace {

constexpr std::size_t kMostDevices = 100000; // a slip of the pen must not eat the machine's memory

const JsonValue *Member(const JsonValue::Object &members, const std::string &name) {
    for (const JsonValue::Member &member : members) {
        if (member.name == name) return &member.json;
    }
    return nullptr;
}

void Replace(JsonValue::Object &members, const JsonValue::Member &with) {
    for (JsonValue::Member &member : members) {
        if (member.name == with.name) {
            member.json = with.json;
            return;
        }
    }
    members.push_back(with);
}

void Fill(JsonValue &json, const std::string &place, const std::string &number) {
    if (auto *text = std::get_if<std::string>(&json.value)) {
        for (std::size_t at = 0; (at = text->find(place, at)) != std::string::npos; at += number.size()) {
            text->replace(at, place.size(), number);
        }
    } else if (auto *list = std::get_if<JsonValue::List>(&json.value)) {
        for (JsonValue &item : *list) Fill(item, place, number);
    } else if (auto *members = std::get_if<JsonValue::Object>(&json.value)) {
        for (JsonValue::Member &member : *members) Fill(member.json, place, number);
    }
}

// One for each number; `one` is the member that holds it. "id" may also be there, as a text with the number's place.
void Expand(const JsonValue &entry, const JsonValue &range, const std::string &one, const std::string &what,
            std::deque<JsonValue> &made, std::vector<const JsonValue *> &all) {
    const JsonValue::Object &members = *entry.As<JsonValue::Object>();
    const JsonValue *both = Member(members, one);
    if (both != nullptr && one != "id") {
        throw Mistake(both->line, what + ": has both \"" + one + "\" and \"" + one + "s\"");
    }
    const std::vector<std::uint16_t> numbers = NumbersOf(range, what + ": " + one + "s");
    std::map<std::string, const JsonValue *> exceptions; // by number; null: none
    for (const std::uint16_t number : numbers) exceptions[std::to_string(number)] = nullptr;
    const JsonValue *listed = Member(members, "except");
    static const JsonValue::Object none;
    const auto where = [&what](const std::string &number) { return what + ": except: \"" + number + '"'; };
    for (const auto &[number, exception] : listed != nullptr ? ObjectOf(*listed, what + ": except") : none) {
        const auto known = exceptions.find(number);
        if (known == exceptions.end()) throw Mistake(exception.line, where(number) + " is not among the " + one + "s");
        ObjectOf(exception, where(number));
        known->second = &exception;
    }
    if (made.size() + numbers.size() > kMostDevices) {
        throw Mistake(range.line, what + ": more than " + std::to_string(kMostDevices) + " devices");
    }
    const std::string place = '{' + one + '}';
    for (const std::uint16_t number : numbers) {
        const std::string text = std::to_string(number);
        JsonValue::Object copy;
        for (const JsonValue::Member &member : members) {
            if (member.name == "except") continue;
            if (&member.json != &range) {
                copy.push_back(member);
            } else if (one == "slot") {
                copy.push_back({one, {std::uint64_t{number}, range.line}});
            } else if (both == nullptr) {
                copy.push_back({one, {text, range.line}});
            }
        }
        if (const JsonValue *exception = exceptions.at(text)) {
            for (const JsonValue::Member &member : *exception->As<JsonValue::Object>()) Replace(copy, member);
        }
        made.push_back(JsonValue{std::move(copy), entry.line});
        Fill(made.back(), place, text);
        all.push_back(&made.back());
    }
}

} // namespace

std::vector<std::uint16_t> NumbersOf(const JsonValue &json, const std::string &what) {
    const std::string &text = TextOf(json, what);
    const auto mistake = [&] {
        return Mistake(json.line, what + " must be a range such as \"0-23\" or \"0-3,8-11\", each number once");
    };
    std::vector<std::uint16_t> numbers;
    const char *at = text.data(), *const end = at + text.size();
    const auto next = [&] {
        std::uint16_t number = 0;
        const auto result = std::from_chars(at, end, number);
        if (result.ec != std::errc()) throw mistake();
        at = result.ptr;
        return number;
    };
    const auto skip = [&](char c) { return at != end && *at == c && ++at != nullptr; };
    do {
        const std::uint16_t first = next(), last = skip('-') ? next() : first;
        if (last < first) throw mistake();
        for (unsigned number = first; number <= last; ++number) numbers.push_back(static_cast<std::uint16_t>(number));
        if (numbers.size() > UINT16_MAX + 1u) throw mistake();
    } while (skip(','));
    std::vector<std::uint16_t> sorted = numbers;
    std::sort(sorted.begin(), sorted.end());
    if (at != end || std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) throw mistake();
    return numbers;
}

std::vector<const JsonValue *> Expanded(const JsonValue::List &entries, const std::string &what,
                                        std::initializer_list<const char *> ones, std::deque<JsonValue> &made) {
    std::vector<const JsonValue *> all;
    for (const JsonValue &entry : entries) {
        const JsonValue::Object &members = ObjectOf(entry, what);
        const std::size_t before = all.size();
        for (const char *one : ones) {
            const JsonValue *range = Member(members, std::string(one) + 's');
            if (range != nullptr && all.size() == before) Expand(entry, *range, one, what, made, all);
        }
        if (all.size() == before) all.push_back(&entry);
    }
    return all;
}

} // namespace sim
