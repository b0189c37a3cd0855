#include "cim/simhhrc/Data.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace sim {
namespace {

[[noreturn]] void NotOfType(const JsonValue &json, CMPIType type, const std::string &what) {
    throw Mistake(json.line, what + " is not of type " + cim::DeclaredTypeName(type));
}

Datum OfType(const JsonValue &json, CMPIType type, const std::string &what) {
    Datum datum{type};
    if (json.IsNull()) return datum;
    datum.null = false;
    if (cim::IsArray(type)) {
        const auto *list = json.As<JsonValue::List>();
        if (list == nullptr) NotOfType(json, type, what);
        for (const JsonValue &item : *list) datum.elements.push_back(OfType(item, cim::ElementType(type), what));
    } else if (type == CMPI_string || type == CMPI_dateTime) {
        const auto *text = json.As<std::string>();
        if (text == nullptr) NotOfType(json, type, what);
        datum.text = *text;
    } else if (type == CMPI_boolean) {
        datum.number = FlagOf(json, what);
    } else {
        std::optional<cim::Numeric> number;
        if (const auto *positive = json.As<std::uint64_t>()) number = cim::NumberOfType(type, *positive);
        if (const auto *negative = json.As<std::int64_t>()) number = cim::NumberOfType(type, *negative);
        if (const auto *real = json.As<double>()) number = cim::NumberOfType(type, *real);
        if (!number) NotOfType(json, type, what);
        datum.number = *number;
    }
    return datum;
}

std::string BytesFromHex(const JsonValue &json, const std::string &what) {
    const std::string &hex = TextOf(json, what);
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        unsigned byte = 0;
        const char *end = hex.data() + i + 2;
        if (std::from_chars(hex.data() + i, end, byte, 16).ptr != end || byte == 0) break;
        bytes += static_cast<char>(byte);
    }
    if (bytes.size() * 2 != hex.size())
        throw Mistake(json.line, what + " must be pairs of hexadecimal digits, none 00");
    return bytes;
}

} // namespace

CMPIType TypeNamed(const JsonValue &json, const std::string &what) {
    std::string name = TextOf(json, what);
    const bool array = name.size() > 2 && name.compare(name.size() - 2, 2, "[]") == 0;
    if (array) name.resize(name.size() - 2);
    const CMPIType type = cim::TypeNamed(name);
    if (type == CMPI_null || type == CMPI_ref) throw Mistake(json.line, what + ": \"" + name + "\" is not a CIM type");
    return static_cast<CMPIType>(type | (array ? CMPI_ARRAY : 0));
}

Datum TextDatum(std::string text) { return {CMPI_string, false, {}, std::move(text), {}}; }

Datum NumberDatum(CMPIType type, std::uint64_t number) {
    const cim::Numeric plain = type == CMPI_boolean ? cim::Numeric(number != 0) : cim::Numeric(number);
    return {type, false, cim::NumberOfType(type, plain).value_or(plain), {}, {}};
}

Datum ListDatum(std::vector<Datum> elements, CMPIType arrayType) {
    return {arrayType, false, {}, {}, std::move(elements)};
}

Datum DatumOf(const JsonValue &json, CMPIType declared, const std::string &what) {
    if (json.As<JsonValue::Object>() != nullptr) {
        Fields fields(json, what);
        const CMPIType type = TypeNamed(fields.Need("type"), what);
        const JsonValue *hex = fields.Find("hex");
        if (hex != nullptr && type != CMPI_string) fields.Fail(*hex, "\"hex\" is for texts");
        Datum datum = hex != nullptr ? TextDatum(BytesFromHex(*hex, what)) : OfType(fields.Need("value"), type, what);
        fields.Finish();
        return datum;
    }
    if (declared != CMPI_null) return OfType(json, declared, what);
    if (json.As<std::string>() != nullptr || json.IsNull()) return OfType(json, CMPI_string, what);
    if (json.As<bool>() != nullptr) return OfType(json, CMPI_boolean, what);
    throw Mistake(json.line, what + " has no type in the class: write {\"type\": ..., \"value\": ...}");
}

Datum KeyDatumOf(const JsonValue &json, CMPIType declared, const std::string &what) {
    Datum datum = DatumOf(json, declared, what);
    if (cim::IsArray(datum.type)) throw Mistake(json.line, what + ": a key cannot be an array");
    return datum;
}

std::uint64_t BytesOf(const JsonValue &json, const std::string &what) {
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

void Put(Data &data, std::string name, Datum datum) {
    const auto found =
        std::find_if(data.begin(), data.end(), [&](const NamedDatum &each) { return SameName(each.name, name); });
    if (found != data.end()) {
        found->value = std::move(datum);
    } else {
        data.push_back({std::move(name), std::move(datum)});
    }
}

void Drop(Data &data, const std::string &name) {
    const auto is = [&](const NamedDatum &each) { return SameName(each.name, name); };
    data.erase(std::remove_if(data.begin(), data.end(), is), data.end());
}

} // namespace sim
