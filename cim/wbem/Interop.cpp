#include "cim/wbem/Interop.h"

#include <algorithm>
#include <climits>
#include <unistd.h>

namespace cim::wbem {

namespace {

constexpr char kInterop[] = "root/interop";
constexpr char kObjectManager[] = "CIM_ObjectManager";
constexpr char kNameSpace[] = "CIM_Namespace";
constexpr char kSystem[] = "CIM_ComputerSystem";
constexpr char kName[] = "quarnel"; // the object manager's

// Those of the broker's providers, and the two that every server has. Sorted.
std::vector<std::string> NameSpacesOf(const Broker &broker) {
    std::vector<std::string> names = broker.NameSpaces();
    for (const char *always : {"root/cimv2", kInterop}) {
        const auto same = [always](const std::string &name) { return SameName(name, always); };
        if (std::none_of(names.begin(), names.end(), same)) names.emplace_back(always);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string HostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return gethostname(name, HOST_NAME_MAX) == 0 ? name : "localhost";
}

Instance InstanceOf(const char *className, const std::vector<NamedValue> &keys,
                    const std::vector<NamedValue> &others = {}) {
    Instance instance{ObjectPath{{}, kInterop, className, keys}, keys};
    instance.properties.insert(instance.properties.end(), others.begin(), others.end());
    instance.othersAreNull = true;
    return instance;
}

Instance ObjectManager(const std::string &host) {
    return InstanceOf(kObjectManager,
                      {{"SystemCreationClassName", Value::Text(kSystem)},
                       {"SystemName", Value::Text(host)},
                       {"CreationClassName", Value::Text(kObjectManager)},
                       {"Name", Value::Text(kName)}},
                      {{"ElementName", Value::Text("Quarnel")},
                       // Clients look for the version behind that word.
                       {"Description", Value::Text("Quarnel's embedded CIM server Version " QUARNEL_VERSION)},
                       {"OperationalStatus", Value::ArrayOf(CMPI_uint16, {Value::Unsigned(CMPI_uint16, 2)})}, // OK
                       {"Started", Value::Boolean(true)},
                       {"GatherStatisticalData", Value::Boolean(false)}});
}

Instance NameSpace(const std::string &host, const std::string &name) {
    return InstanceOf(kNameSpace, {{"SystemCreationClassName", Value::Text(kSystem)},
                                   {"SystemName", Value::Text(host)},
                                   {"ObjectManagerCreationClassName", Value::Text(kObjectManager)},
                                   {"ObjectManagerName", Value::Text(kName)},
                                   {"CreationClassName", Value::Text(kNameSpace)},
                                   {"Name", Value::Text(name)}});
}

} // namespace

bool HasNameSpace(const Broker &broker, std::string_view nameSpace) {
    const std::vector<std::string> names = NameSpacesOf(broker);
    return std::any_of(names.begin(), names.end(), [&](const auto &name) { return SameName(name, nameSpace); });
}

std::vector<Instance> OwnInstances(const Broker &broker, std::string_view nameSpace, std::string_view className) {
    std::vector<Instance> instances;
    if (!SameName(nameSpace, kInterop)) return instances;
    const std::string host = HostName();
    if (broker.Classes().IsA(kObjectManager, className)) instances.push_back(ObjectManager(host));
    if (broker.Classes().IsA(kNameSpace, className)) {
        for (const std::string &name : NameSpacesOf(broker)) instances.push_back(NameSpace(host, name));
    }
    return instances;
}

bool IsOwnClass(std::string_view nameSpace, std::string_view className) {
    return SameName(nameSpace, kInterop) && (SameName(className, kObjectManager) || SameName(className, kNameSpace));
}

} // namespace cim::wbem
