#include "cim/wbem/Types.h"

#include "cim/values/Text.h"
#include "cim/wbem/Utf8.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace cim::wbem {

namespace {

struct TypeRow {
    const char *name;
    std::uint64_t most; // of an unsigned integer; of a signed one, beside zero and less; 0: no integer
    CMPIType type;
    bool isSigned = false;
};

constexpr TypeRow kTypes[] = {
    {"boolean", 0, CMPI_boolean},
    {"string", 0, CMPI_string},
    {"datetime", 0, CMPI_dateTime},
    {"char16", 0, CMPI_char16},
    {"uint8", UINT8_MAX, CMPI_uint8},
    {"uint16", UINT16_MAX, CMPI_uint16},
    {"uint32", UINT32_MAX, CMPI_uint32},
    {"uint64", UINT64_MAX, CMPI_uint64},
    {"sint8", INT8_MAX, CMPI_sint8, true},
    {"sint16", INT16_MAX, CMPI_sint16, true},
    {"sint32", INT32_MAX, CMPI_sint32, true},
    {"sint64", INT64_MAX, CMPI_sint64, true},
    {"real32", 0, CMPI_real32},
    {"real64", 0, CMPI_real64},
    {"reference", 0, CMPI_ref},
};

const TypeRow *RowOf(CMPIType type) {
    for (const TypeRow &row : kTypes) {
        if (row.type == type) return &row;
    }
    return nullptr;
}

std::string_view Trimmed(std::string_view text) {
    const char *kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<Value> IntegerOf(const TypeRow &row, std::string_view text) {
    const bool negative = text.substr(0, 1) == "-";
    if (negative || text.substr(0, 1) == "+") text.remove_prefix(1);
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (hex) text.remove_prefix(2);
    std::uint64_t size = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, size, hex ? 16 : 10);
    if (error != std::errc() || stop != end) return std::nullopt;
    if (!row.isSigned) {
        if (size > row.most || (negative && size != 0)) return std::nullopt;
        return Value::Unsigned(row.type, size);
    }
    if (size > row.most + (negative ? 1 : 0)) return std::nullopt;
    return Value::Signed(row.type, static_cast<std::int64_t>(negative ? 0 - size : size));
}

std::optional<Value> RealOf(CMPIType type, std::string_view text) {
    const char *first = text.data() + (text.substr(0, 1) == "+" ? 1 : 0);
    const char *end = text.data() + text.size();
    double number = 0;
    const auto [stop, error] = std::from_chars(first, end, number); // knows DSP0201's NaN and INF
    if (error != std::errc() || stop != end) return std::nullopt;
    if (type == CMPI_real32 && std::isfinite(number) && std::fabs(number) > double{std::numeric_limits<float>::max()}) {
        return std::nullopt;
    }
    return Value::Real(type, number);
}

std::optional<Value> Char16Of(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const Character only = FirstCharacter(text);
    if (!only.valid || only.bytes != text.size() || only.code > UINT16_MAX) return std::nullopt;
    return Value::Unsigned(CMPI_char16, only.code);
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

const char *TypeName(CMPIType type) {
    const TypeRow *row = RowOf(static_cast<CMPIType>(type & ~CMPI_ARRAY));
    return row != nullptr ? row->name : "string";
}

CMPIType TypeNamed(std::string_view name) {
    for (const TypeRow &row : kTypes) {
        if (name == row.name) return row.type;
    }
    return CMPI_null;
}

bool IsInteger(CMPIType type) {
    const TypeRow *row = RowOf(type);
    return row != nullptr && row->most != 0;
}

std::optional<Value> ValueOf(CMPIType type, std::string_view text) {
    if (type == CMPI_string) return Value::Text(std::string(text));
    if (type == CMPI_char16) return Char16Of(text);
    text = Trimmed(text);
    if (type == CMPI_dateTime) return Value::DateTime(std::string(text));
    if (type == CMPI_boolean) {
        if (SameName(text, "true")) return Value::Boolean(true);
        if (SameName(text, "false")) return Value::Boolean(false);
        return std::nullopt;
    }
    if (type == CMPI_real32 || type == CMPI_real64) return RealOf(type, text);
    return IsInteger(type) ? IntegerOf(*RowOf(type), text) : std::nullopt;
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
