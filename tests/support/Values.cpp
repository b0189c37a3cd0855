#include "tests/support/Values.h"

namespace support {

cim::Value U16s(std::initializer_list<std::uint64_t> numbers) {
    cim::Value::Elements elements;
    for (const std::uint64_t number : numbers) elements.push_back(U16(number));
    return cim::Value::ArrayOf(CMPI_uint16, std::move(elements));
}

std::string Shown(const cim::Value *value) {
    if (value == nullptr) return "absent";
    if (const auto *flag = value->As<bool>()) return *flag ? "true" : "false";
    if (const auto *number = value->As<std::uint64_t>()) return std::to_string(*number);
    if (const auto *number = value->As<std::int64_t>()) return std::to_string(*number);
    if (const auto *number = value->As<double>()) return std::to_string(*number);
    if (const auto *text = value->As<std::string>()) return *text;
    if (const auto *elements = value->As<cim::Value::Elements>()) {
        std::string shown = "{";
        for (const cim::Value &element : *elements) shown += (shown.size() > 1 ? "," : "") + Shown(&element);
        return shown + "}";
    }
    if (const auto *path = value->As<std::shared_ptr<const cim::ObjectPath>>()) return (*path)->ToString();
    return "null";
}

std::string Shown(const cim::Instance &instance, std::string_view property) {
    return Shown(instance.Property(property));
}

} // namespace support
