#include "cim/wbem/NameSpaces.h"

#include <algorithm>
#include <climits>
#include <unistd.h>

namespace cim::wbem {

namespace {

constexpr char kClass[] = "CIM_Namespace";
constexpr char kInterop[] = "root/interop";

std::string HostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return gethostname(name, HOST_NAME_MAX) == 0 ? name : "localhost";
}

} // namespace

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

bool AreNameSpaces(std::string_view nameSpace, std::string_view className) {
    return SameName(nameSpace, kInterop) && SameName(className, kClass);
}

std::vector<Instance> NameSpaceInstances(const Broker &broker) {
    const std::string host = HostName();
    std::vector<Instance> instances;
    for (const std::string &name : NameSpacesOf(broker)) {
        const std::vector<NamedValue> keys = {{"SystemCreationClassName", Value::Text("CIM_ComputerSystem")},
                                              {"SystemName", Value::Text(host)},
                                              {"ObjectManagerCreationClassName", Value::Text("CIM_ObjectManager")},
                                              {"ObjectManagerName", Value::Text("quarnel")},
                                              {"CreationClassName", Value::Text(kClass)},
                                              {"Name", Value::Text(name)}};
        instances.push_back({ObjectPath{{}, kInterop, kClass, keys}, keys});
    }
    return instances;
}

} // namespace cim::wbem
