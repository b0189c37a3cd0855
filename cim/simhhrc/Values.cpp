#include "cim/simhhrc/Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace sim {
namespace {

[[noreturn]] void NotOfType(const Json &json, CMPIType type, const std::string &what) {
    throw Mistake(json.line, what + " is no " + cim::DeclaredTypeName(type));
}

cim::Numeric NumberOfType(const Json &json, CMPIType type, const std::string &what) {
    std::optional<cim::Numeric> number;
    if (type == CMPI_boolean) {
        number = FlagOf(json, what);
    } else if (const auto *positive = json.As<std::uint64_t>()) {
        number = cim::NumberOfType(type, *positive);
    } else if (const auto *negative = json.As<std::int64_t>()) {
        number = cim::NumberOfType(type, *negative);
    } else if (const auto *real = json.As<double>()) {
        number = cim::NumberOfType(type, *real);
    }
    if (!number) NotOfType(json, type, what);
    return *number;
}

Value OfType(const Json &json, CMPIType type, const std::string &what) {
    Value value;
    value.type = type;
    value.null = json.IsNull();
    if (value.null) return value;
    if ((type & CMPI_ARRAY) != 0) {
        const auto *list = json.As<Json::List>();
        if (list == nullptr) NotOfType(json, type, what);
        for (const Json &item : *list) {
            value.elements.push_back(OfType(item, static_cast<CMPIType>(type & ~CMPI_ARRAY), what));
        }
    } else if (type == CMPI_string || type == CMPI_dateTime) {
        const auto *text = json.As<std::string>();
        if (text == nullptr) NotOfType(json, type, what);
        value.text = *text;
    } else {
        value.number = NumberOfType(json, type, what);
    }
    return value;
}

int DigitOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string BytesFromHex(const Json &json, const std::string &what) {
    const std::string &hex = TextOf(json, what);
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const int high = DigitOf(hex[i]), low = DigitOf(hex[i + 1]);
        if (high < 0 || low < 0 || high + low == 0) break;
        bytes += static_cast<char>(high * 16 + low);
    }
    if (bytes.size() * 2 != hex.size())
        throw Mistake(json.line, what + " must be pairs of hexadecimal digits, none 00");
    return bytes;
}

} // namespace

CMPIType TypeNamed(const Json &json, const std::string &what) {
    std::string name = TextOf(json, what);
    const bool array = name.size() > 2 && name.compare(name.size() - 2, 2, "[]") == 0;
    if (array) name.resize(name.size() - 2);
    const CMPIType type = cim::TypeNamed(name);
    if (type == CMPI_null || type == CMPI_ref) throw Mistake(json.line, what + ": \"" + name + "\" is no CIM type");
    return static_cast<CMPIType>(type | (array ? CMPI_ARRAY : 0));
}

Value TextValue(std::string text, CMPIType type) {
    Value value;
    value.type = type;
    value.null = false;
    value.text = std::move(text);
    return value;
}

Value NumberValue(CMPIType type, std::uint64_t number) {
    Value value;
    value.type = type;
    value.null = false;
    if (type == CMPI_boolean) {
        value.number = number != 0;
    } else {
        value.number = cim::NumberOfType(type, number).value_or(number);
    }
    return value;
}

Value NumbersValue(CMPIType elementType, const std::vector<std::uint16_t> &numbers) {
    Value value;
    value.type = static_cast<CMPIType>(CMPI_ARRAY | elementType);
    value.null = false;
    for (const std::uint16_t number : numbers) value.elements.push_back(NumberValue(elementType, number));
    return value;
}

Value ValueOf(const Json &json, CMPIType declared, const std::string &what) {
    if (json.As<Json::Object>() != nullptr) {
        Fields fields(json, what);
        const CMPIType type = TypeNamed(fields.Need("type"), what);
        const Json *hex = fields.Find("hex");
        if (hex != nullptr && type != CMPI_string) fields.Fail(*hex, "\"hex\" is for texts");
        Value value = hex != nullptr ? TextValue(BytesFromHex(*hex, what)) : OfType(fields.Need("value"), type, what);
        fields.Finish();
        return value;
    }
    if (declared != CMPI_null) return OfType(json, declared, what);
    if (json.As<std::string>() != nullptr || json.IsNull()) return OfType(json, CMPI_string, what);
    if (json.As<bool>() != nullptr) return OfType(json, CMPI_boolean, what);
    throw Mistake(json.line, what + " has no type in the class: write {\"type\": ..., \"value\": ...}");
}

Value KeyValueOf(const Json &json, CMPIType declared, const std::string &what) {
    Value value = ValueOf(json, declared, what);
    if ((value.type & CMPI_ARRAY) != 0) throw Mistake(json.line, what + ": a key cannot be an array");
    return value;
}

std::uint64_t BytesOf(const Json &json, const std::string &what) {
    if (const auto *bytes = json.As<std::uint64_t>()) return *bytes;
    static const struct {
        const char *unit;
        double bytes;
    } kUnits[] = {{"B", 1},        {"kB", 1e3},        {"MB", 1e6},     {"GB", 1e9},     {"TB", 1e12},   {"PB", 1e15},
                  {"KiB", 1024.0}, {"MiB", 1048576.0}, {"GiB", 0x1p30}, {"TiB", 0x1p40}, {"PiB", 0x1p50}};
    if (const auto *text = json.As<std::string>()) {
        double number = 0;
        const char *first = text->data(), *last = first + text->size();
        // Only digits and a point: none of the signs, exponents and words that from_chars would take.
        const char *end = first + std::min(text->find_first_not_of("0123456789."), text->size());
        const auto parsed = std::from_chars(first, end, number, std::chars_format::fixed);
        for (const auto &row : kUnits) {
            if (parsed.ec != std::errc() || parsed.ptr != end ||
                std::string_view(end, static_cast<std::size_t>(last - end)) != row.unit)
                continue;
            const double bytes = std::round(number * row.bytes);
            if (bytes < 0x1p64) return static_cast<std::uint64_t>(bytes);
        }
    }
    throw Mistake(json.line, what + " must be a number of bytes or a text such as \"900GB\" or \"1.5TiB\"");
}

void Put(NamedValues &values, std::string name, Value value) {
    for (NamedValue &present : values) {
        if (SameName(present.name, name)) {
            present.value = std::move(value);
            return;
        }
    }
    values.push_back({std::move(name), std::move(value)});
}

void Drop(NamedValues &values, const std::string &name) {
    values.erase(std::remove_if(values.begin(), values.end(),
                                [&](const NamedValue &value) { return SameName(value.name, name); }),
                 values.end());
}

} // namespace sim
