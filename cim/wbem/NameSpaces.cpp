#include "cim/wbem/NameSpaces.h"

#include <algorithm>

namespace cim::wbem {

std::vector<std::string> NameSpacesOf(const Broker &broker) {
    std::vector<std::string> names = broker.NameSpaces();
    for (const char *always : {"root/cimv2", kInterop}) {
        const auto same = [always](const std::string &name) { return SameName(name, always); };
        if (std::none_of(names.begin(), names.end(), same)) names.emplace_back(always);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool HasNameSpace(const Broker &broker, std::string_view nameSpace) {
    const std::vector<std::string> names = NameSpacesOf(broker);
    return std::any_of(names.begin(), names.end(), [&](const auto &name) { return SameName(name, nameSpace); });
}

} // namespace cim::wbem
