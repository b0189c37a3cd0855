#include "cim/simhhrc/Values.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace sim {
namespace {

struct TypeName {
    const char *name;
    CMPIType type;
};
constexpr TypeName kTypes[] = {
    {"boolean", CMPI_boolean}, {"char16", CMPI_char16},     {"real32", CMPI_real32}, {"real64", CMPI_real64},
    {"uint8", CMPI_uint8},     {"uint16", CMPI_uint16},     {"uint32", CMPI_uint32}, {"uint64", CMPI_uint64},
    {"sint8", CMPI_sint8},     {"sint16", CMPI_sint16},     {"sint32", CMPI_sint32}, {"sint64", CMPI_sint64},
    {"string", CMPI_string},   {"datetime", CMPI_dateTime},
};

std::string NameOfType(CMPIType type) {
    for (const TypeName &row : kTypes) {
        if (row.type == (type & ~CMPI_ARRAY)) return row.name + std::string((type & CMPI_ARRAY) != 0 ? "[]" : "");
    }
    return "unknown";
}

[[noreturn]] void NotOfType(const Json &json, CMPIType type, const std::string &what) {
    throw Mistake(json.line, what + " is no " + NameOfType(type));
}

bool IsUnsigned(CMPIType type) { return (type & 0xff) >= CMPI_uint8 && (type & 0xff) < CMPI_sint8; }
bool IsSigned(CMPIType type) { return (type & 0xff) >= CMPI_sint8; }
int BitsOf(CMPIType type) {
    if (type == CMPI_char16) return 16;
    return 8 << ((type & 0x30) >> 4);
}

CMPIValue SignedScalar(CMPIType type, std::int64_t number) {
    CMPIValue value = {};
    switch (type) {
    case CMPI_sint8:
        value.sint8 = static_cast<CMPISint8>(number);
        break;
    case CMPI_sint16:
        value.sint16 = static_cast<CMPISint16>(number);
        break;
    case CMPI_sint32:
        value.sint32 = static_cast<CMPISint32>(number);
        break;
    default:
        value.sint64 = number;
        break;
    }
    return value;
}

CMPIValue UnsignedScalar(CMPIType type, std::uint64_t number) {
    CMPIValue value = {};
    switch (type) {
    case CMPI_boolean:
        value.boolean = number != 0;
        break;
    case CMPI_uint8:
        value.uint8 = static_cast<CMPIUint8>(number);
        break;
    case CMPI_char16:
    case CMPI_uint16:
        value.uint16 = static_cast<CMPIUint16>(number);
        break;
    case CMPI_uint32:
        value.uint32 = static_cast<CMPIUint32>(number);
        break;
    default:
        value.uint64 = number;
        break;
    }
    return value;
}

CMPIValue ScalarOf(const Json &json, CMPIType type, const std::string &what) {
    CMPIValue value = {};
    const auto *positive = json.As<std::uint64_t>();
    const auto *negative = json.As<std::int64_t>();
    if (type == CMPI_boolean) {
        value.boolean = FlagOf(json, what);
    } else if (IsUnsigned(type) || type == CMPI_char16) {
        const int bits = BitsOf(type);
        if (positive == nullptr || (bits < 64 && *positive >> bits != 0)) NotOfType(json, type, what);
        value = UnsignedScalar(type, *positive);
    } else if (IsSigned(type)) {
        const std::int64_t highest = INT64_MAX >> (64 - BitsOf(type));
        if (positive != nullptr ? *positive > static_cast<std::uint64_t>(highest)
                                : negative == nullptr || *negative < -highest - 1) {
            NotOfType(json, type, what);
        }
        value = SignedScalar(type, positive != nullptr ? static_cast<std::int64_t>(*positive) : *negative);
    } else {
        const auto *real = json.As<double>();
        if (real == nullptr && positive == nullptr && negative == nullptr) NotOfType(json, type, what);
        const double number = real != nullptr       ? *real
                              : positive != nullptr ? static_cast<double>(*positive)
                                                    : static_cast<double>(*negative);
        if (type == CMPI_real32) {
            if (std::fabs(number) > 3.4e38) NotOfType(json, type, what);
            value.real32 = static_cast<CMPIReal32>(number);
        } else {
            value.real64 = number;
        }
    }
    return value;
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
        value.scalar = ScalarOf(json, type, what);
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
    for (const TypeName &row : kTypes) {
        if (row.name == name) return static_cast<CMPIType>(row.type | (array ? CMPI_ARRAY : 0));
    }
    throw Mistake(json.line, what + ": \"" + name + "\" is no CIM type");
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
    value.scalar =
        IsSigned(type) ? SignedScalar(type, static_cast<std::int64_t>(number)) : UnsignedScalar(type, number);
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
