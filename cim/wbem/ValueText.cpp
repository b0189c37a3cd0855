#include "cim/wbem/ValueText.h"

#include "cim/values/Text.h"
#include "cim/values/Types.h"

#include <charconv>
#include <cmath>

namespace cim::wbem {

namespace {

template <class T, class... Base> bool Reads(std::string_view text, T &number, Base... base) {
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base...);
    return error == std::errc() && stop == end;
}

std::optional<Numeric> IntegerOf(std::string_view text) {
    const bool negative = text.substr(0, 1) == "-";
    if (negative || text.substr(0, 1) == "+") text.remove_prefix(1);
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (hex) text.remove_prefix(2);
    std::uint64_t size = 0;
    if (!Reads(text, size, hex ? 16 : 10)) return std::nullopt;
    if (!negative) return size;
    if (size > std::uint64_t{1} << 63) return std::nullopt;
    return static_cast<std::int64_t>(0 - size);
}

std::optional<Numeric> RealOf(std::string_view text) {
    if (text.substr(0, 1) == "+") text.remove_prefix(1);
    double number = 0;
    return Reads(text, number) ? std::optional<Numeric>(number) : std::nullopt; // knows DSP0201's NaN and INF
}

std::optional<Numeric> CharacterOf(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const Character only = FirstCharacter(text);
    return only.valid && only.bytes == text.size() ? std::optional<Numeric>(std::uint64_t{only.code}) : std::nullopt;
}

std::optional<Numeric> NumberOf(CMPIType type, std::string_view text) {
    if (type == CMPI_char16) return CharacterOf(text);
    text = Trimmed(text);
    if (IsInteger(type)) return IntegerOf(text);
    if (IsReal(type)) return RealOf(text);
    const bool truth = SameName(text, "true");
    return type == CMPI_boolean && (truth || SameName(text, "false")) ? std::optional<Numeric>(truth) : std::nullopt;
}

std::string TextOfReal(double number, bool isFloat) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "INF" : "-INF";
    char text[40]; // of as many digits as it takes to read the same number back
    const auto format = std::chars_format::scientific;
    const auto end = isFloat ? std::to_chars(text, text + sizeof text, static_cast<float>(number), format).ptr
                             : std::to_chars(text, text + sizeof text, number, format).ptr;
    return {text, end};
}

} // namespace

std::optional<Value> ValueOf(CMPIType type, std::string_view text) {
    if (type == CMPI_string) return Value::Text(std::string(text));
    if (type == CMPI_dateTime) return Value::DateTime(std::string(Trimmed(text)));
    auto number = NumberOf(type, text);
    if (number) number = NumberOfType(type, *number);
    if (!number) return std::nullopt;
    return Value{type, std::visit([](auto held) { return Value::Payload(held); }, *number)};
}

std::string TextOf(const Value &value) {
    if (const auto *text = value.As<std::string>()) return *text;
    if (const auto *truth = value.As<bool>()) return *truth ? "TRUE" : "FALSE";
    if (const auto *number = value.As<double>()) return TextOfReal(*number, value.type == CMPI_real32);
    if (const auto *number = value.As<std::int64_t>()) return std::to_string(*number);
    const auto *number = value.As<std::uint64_t>();
    if (number == nullptr) return {};
    return value.type == CMPI_char16 ? Utf8Of(static_cast<char32_t>(*number)) : std::to_string(*number);
}

} // namespace cim::wbem
