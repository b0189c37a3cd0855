#include "cim/broker/objects/Value.h"

#include <algorithm>
#include <cstdio>

namespace cim {
namespace {

const NamedValue *Find(const std::vector<NamedValue> &values, std::string_view name) {
    const auto found =
        std::find_if(values.begin(), values.end(), [&](const NamedValue &value) { return SameName(value.name, name); });
    return found != values.end() ? &*found : nullptr;
}

// A key's integer may come back with another width than it was given: what counts is the number.
bool SameKey(const Value &a, const Value &b) {
    const auto *signedA = a.As<std::int64_t>();
    const auto *signedB = b.As<std::int64_t>();
    const auto *unsignedA = a.As<std::uint64_t>();
    const auto *unsignedB = b.As<std::uint64_t>();
    if (signedA != nullptr && unsignedB != nullptr)
        return *signedA >= 0 && static_cast<std::uint64_t>(*signedA) == *unsignedB;
    if (unsignedA != nullptr && signedB != nullptr) return SameKey(b, a);
    if ((signedA != nullptr && signedB != nullptr) || (unsignedA != nullptr && unsignedB != nullptr))
        return a.payload == b.payload;
    return a == b;
}

void AppendQuoted(std::string &text, std::string_view value) {
    text += '"';
    for (const char c : value) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    text += '"';
}

void AppendKey(std::string &text, const Value &value) {
    if (const auto *boolean = value.As<bool>()) {
        text += *boolean ? "true" : "false";
    } else if (const auto *natural = value.As<std::uint64_t>()) {
        text += std::to_string(*natural);
    } else if (const auto *integer = value.As<std::int64_t>()) {
        text += std::to_string(*integer);
    } else if (const auto *real = value.As<double>()) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.17g", *real);
        text += digits;
    } else if (const auto *string = value.As<std::string>()) {
        AppendQuoted(text, *string);
    } else if (const auto *reference = value.As<std::shared_ptr<const ObjectPath>>()) {
        AppendQuoted(text, (*reference)->ToString());
    } else {
        text += "NULL";
    }
}

} // namespace

Value Value::Reference(ObjectPath path) { return {CMPI_ref, std::make_shared<const ObjectPath>(std::move(path))}; }

Value Value::ArrayOf(CMPIType elementType, Elements elements) {
    return {static_cast<CMPIType>(CMPI_ARRAY | elementType), std::move(elements)};
}

bool operator==(const Value &a, const Value &b) {
    if (a.type != b.type || a.payload.index() != b.payload.index()) return false;
    if (const auto *path = a.As<std::shared_ptr<const ObjectPath>>())
        return **path == **b.As<std::shared_ptr<const ObjectPath>>();
    if (const auto *pointer = a.As<std::shared_ptr<const Instance>>()) {
        const Instance &left = **pointer;
        const Instance &right = **b.As<std::shared_ptr<const Instance>>();
        return left.path == right.path &&
               std::equal(left.properties.begin(), left.properties.end(), right.properties.begin(),
                          right.properties.end(), [](const NamedValue &x, const NamedValue &y) {
                              return SameName(x.name, y.name) && x.value == y.value;
                          });
    }
    return a.payload == b.payload;
}

const Value *ObjectPath::Key(std::string_view name) const {
    const NamedValue *key = Find(keys, name);
    return key != nullptr ? &key->value : nullptr;
}

std::string ObjectPath::ToString() const {
    std::string text;
    if (!host.empty()) text.append("//").append(host).append("/");
    if (!nameSpace.empty()) text.append(nameSpace).append(":");
    text += className;
    char separator = '.';
    for (const NamedValue &key : keys) {
        text.append(1, separator).append(key.name).append("=");
        AppendKey(text, key.value);
        separator = ',';
    }
    return text;
}

bool operator==(const ObjectPath &a, const ObjectPath &b) {
    if (!SameName(a.className, b.className) || !SameName(a.nameSpace, b.nameSpace) || a.keys.size() != b.keys.size())
        return false;
    return std::all_of(a.keys.begin(), a.keys.end(), [&](const NamedValue &key) {
        const Value *other = b.Key(key.name);
        return other != nullptr && SameKey(key.value, *other);
    });
}

const Value *Instance::Property(std::string_view name) const {
    const NamedValue *property = Find(properties, name);
    return property != nullptr ? &property->value : nullptr;
}

} // namespace cim
