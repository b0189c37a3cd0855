#include "cim/simhhrc/Kinds.h"

namespace sim {
namespace {

constexpr Name kPortTypes[] = {{"SATA", 93}, {"SAS", 94}};
constexpr Name kUsages[] = {{"unknown", 0}, {"front-end", 2}, {"back-end", 3}, {"not restricted", 4}};
constexpr Name kBatteryStatus[] = {
    {"other", 1},
    {"unknown", 2},
    {"fully charged", 3},
    {"low", 4},
    {"critical", 5},
    {"charging", 6},
    {"charging and high", 7},
    {"charging and low", 8},
    {"charging and critical", 9},
    {"undefined", 10},
    {"partially charged", 11},
    {"learning", 12},
    {"overcharged", 13},
};
const Names kPortTypeNames(kPortTypes), kUsageNames(kUsages), kBatteryStatusNames(kBatteryStatus);

constexpr RaidLevel kRaidLevels[] = {{"RAID0", 1, 0},  {"RAID1", 2, 1},  {"RAID5", 1, 1}, {"RAID6", 1, 2},
                                     {"RAID10", 2, 1}, {"RAID50", 1, 1}, {"RAID60", 1, 2}};

} // namespace

const Kind kProfile = {
    "profile",
    "RegisteredProfile",
    Keys::Instance,
    {{"name", "RegisteredName"}, {"organization", "RegisteredOrganization"}, {"version", "RegisteredVersion"}},
    {{"RegisteredOrganization", 11}}}; // SNIA
const Kind kPortController = {"controller", "PortController", Keys::Device};
const Kind kComputerSystem = {"system", "ComputerSystem", Keys::System};
const Kind kPackage = {"package",
                       "PhysicalPackage",
                       Keys::Physical,
                       {{"vendor", "Manufacturer"},
                        {"model", "Model"},
                        {"serial", "SerialNumber"},
                        {"health", "HealthState", &kHealthNames}},
                       {{"HealthState", 5}}};
const Kind kSoftware = {"software", "SoftwareIdentity", Keys::Instance, {{"version", "VersionString"}}};
const Kind kPool = {"pool", "StoragePool", Keys::Instance};
const Kind kChassis = {"enclosure", "Chassis", Keys::Physical, {{"model", "Model"}, {"serial", "SerialNumber"}}};
const Kind kSlot = {"slot", "Slot", Keys::Physical};
const Kind kDisk = {
    "disk", "DiskDrive", Keys::Device, {{"name", "Name"}, {"enabledState", "EnabledState"}}, {{"EnabledState", 2}}};
const Kind kMedia = {"media", "StorageExtent", Keys::Device};
const Kind kVolume = {"volume",
                      "StorageVolume",
                      Keys::Device,
                      {{"name", "ElementName"},
                       {"uniqueId", "Name"},
                       {"nameFormat", "NameFormat"},
                       {"nameNamespace", "NameNamespace"},
                       {"dataRedundancy", "DataRedundancy"},
                       {"packageRedundancy", "PackageRedundancy"},
                       {"basedOnRedundancy", "IsBasedOnUnderlyingRedundancy"},
                       {"deltaReservation", "DeltaReservation"},
                       {"primordial", "Primordial"}},
                      {{"Primordial", 0}, {"DeltaReservation", 0}}};
const Kind kSetting = {"setting", "StorageSetting", Keys::Instance};
const Kind kPort = {"port",
                    "SASSATAPort",
                    Keys::Device,
                    {{"name", "ElementName"},
                     {"type", "PortType", &kPortTypeNames},
                     {"usage", "UsageRestriction", &kUsageNames},
                     {"speed", "Speed"}},
                    {{"PortType", 94}, {"UsageRestriction", 3}}};
const Kind kBattery = {"battery",
                       "Battery",
                       Keys::Device,
                       {{"name", "ElementName"}, {"batteryStatus", "BatteryStatus", &kBatteryStatusNames}},
                       {{"BatteryStatus", 3}}};
const Kind kOther = {"device", "LogicalDevice", Keys::Device, {{"name", "ElementName"}}};

const std::vector<State> kDiskStates = {
    {"online", 2, 2, State::Needs::OtherPool},
    {"hot spare", 2, 13},
    {"rebuild", 2, 11, State::Needs::OtherPool},
    {"unconfigured good", 2, 2, State::Needs::PrimordialPool},
    {"unconfigured bad", 6, 2, State::Needs::PrimordialPool},
    {"failed", 6, 3},
    {"offline", 12},
};
const std::vector<State> kVolumeStates = {{"optimal", 2}, {"offline", 6, 3}};
const std::vector<State> kDeviceStates = {{"failed", 6}};

const RaidLevel *RaidLevelNamed(const std::string &name) {
    for (const RaidLevel &level : kRaidLevels) {
        if (name == level.name) return &level;
    }
    return nullptr;
}

} // namespace sim
