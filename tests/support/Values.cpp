#include "tests/support/Values.h"

#include <algorithm>
#include <sstream>
#include <vector>

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

std::string WithMembersSorted(std::string row) {
    const std::string opening = ", Drives(";
    for (std::size_t at = row.find(opening); at != std::string::npos; at = row.find(opening, at)) {
        at += opening.size();
        const std::size_t end = row.find(')', at);
        std::vector<std::string> members;
        std::istringstream list(row.substr(at, end - at));
        for (std::string member; std::getline(list, member, ',');) members.push_back(member);
        std::sort(members.begin(), members.end());
        std::string sorted;
        for (const std::string &member : members) sorted += (sorted.empty() ? "" : ",") + member;
        row.replace(at, end - at, sorted);
    }
    return row;
}

} // namespace support
