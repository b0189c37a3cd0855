// Instances as the provider renders them, for tests of what the program makes of them.
#pragma once

#include "cim/inventory/Inventory.h"

#include <string>

namespace cim {

inline Value ListOf(std::uint64_t only) { return Value::ArrayOf(CMPI_uint16, {Value::Unsigned(CMPI_uint16, only)}); }

inline Value Number(std::uint64_t value) { return Value::Unsigned(CMPI_uint16, value); }
inline Value Blocks(std::uint64_t value) { return Value::Unsigned(CMPI_uint64, value); }

// An instance of a served class with its keys as properties too, as a broker makes it from a path.
inline Instance Sample(ClassIndex index, const std::string &id, std::vector<NamedValue> properties) {
    const ServedClass &served = kServedClasses[index];
    const NamedValue key{served.key, Value::Text(served.prefix + id)};
    Instance instance{ObjectPath{{}, kServedNameSpace, served.name, {key}}, {key}};
    for (auto &property : properties) instance.properties.push_back(std::move(property));
    return instance;
}

inline Instance SampleController(const std::string &id, const std::string &model) {
    return Sample(kController, id,
                  {{"Caption", Value::Text("Controller " + id + " (" + model + ")")},
                   {"OperationalStatus", ListOf(2)},
                   {"HealthState", Number(5)}});
}

inline Instance SampleSoftware(const std::string &id, const std::string &versions) {
    return Sample(kSoftware, id,
                  {{"IsEntity", Value::Boolean(true)},
                   {"VersionString", Value::Text(versions)},
                   {"Caption", Value::Text("Controller " + id + " (Model)")}});
}

inline Instance SampleVolume(const std::string &id, const std::string &caption, std::uint64_t status,
                             std::uint64_t health, std::uint64_t blocks = 1) {
    return Sample(kVolume, id,
                  {{"Caption", Value::Text(caption)},
                   {"OperationalStatus", ListOf(status)},
                   {"HealthState", Number(health)},
                   {"BlockSize", Blocks(512)},
                   {"NumberOfBlocks", Blocks(blocks)}});
}

inline Instance SampleDisk(const std::string &id, const std::string &caption, std::uint64_t status,
                           std::uint64_t health, std::uint64_t blocks = 1) {
    return Sample(kDisk, id,
                  {{"Caption", Value::Text(caption)},
                   {"OperationalStatus", ListOf(status)},
                   {"HealthState", Number(health)},
                   {"BlockSize", Number(512)},
                   {"NumberOfBlocks", Blocks(blocks)}});
}

inline Instance SampleBattery(const std::string &id, std::uint64_t charge, std::uint64_t status, std::uint64_t health) {
    return Sample(kBattery, id,
                  {{"Caption", Value::Text("Battery")},
                   {"OperationalStatus", ListOf(status)},
                   {"HealthState", Number(health)},
                   {"BatteryStatus", Number(charge)}});
}

} // namespace cim
