#include "cim/simhhrc/Kinds.h"

namespace sim {
namespace {

constexpr Word kPortTypeWords[] = {{"SATA", 93}, {"SAS", 94}};
constexpr Word kUsageWords[] = {{"unknown", 0}, {"front-end", 2}, {"back-end", 3}, {"not restricted", 4}};
constexpr Word kBatteryStatusWords[] = {
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
constexpr Word kHealthWords[] = {{"unknown", 0}, {"ok", 5},        {"warning", 10}, {"minor", 15},
                                 {"major", 20},  {"critical", 25}, {"failed", 30}};
constexpr Word kClassificationWords[] = {{"unknown", 0}, {"driver", 2}, {"firmware", 10}, {"bios", 11}, {"bundle", 13}};
const Words kPortTypes(kPortTypeWords), kUsages(kUsageWords), kBatteryStatus(kBatteryStatusWords),
    kHealth(kHealthWords);

const std::vector<KnownState> kNoStates, kDeviceStates = {{"failed", 6}},
                                         kVolumeStates = {{"optimal", 2}, {"offline", 6, 3}},
                                         kDiskStates = {
                                             {"online", 2, 2, KnownState::Needs::OtherPool},
                                             {"hot spare", 2, 13},
                                             {"rebuild", 2, 11, KnownState::Needs::OtherPool},
                                             {"unconfigured good", 2, 2, KnownState::Needs::PrimordialPool},
                                             {"unconfigured bad", 6, 2, KnownState::Needs::PrimordialPool},
                                             {"failed", 6, 3},
                                             {"offline", 12},
};

constexpr RaidLevel kRaidLevels[] = {{"RAID1", 2, 1},  {"RAID5", 1, 1},  {"RAID6", 1, 2},
                                     {"RAID10", 2, 1}, {"RAID50", 1, 1}, {"RAID60", 1, 2}};

} // namespace

const Words kClassificationNames(kClassificationWords);

const ElementKind kProfile = {
    "profile",
    "RegisteredProfile",
    Keys::Instance,
    {{"name", "RegisteredName"}, {"organization", "RegisteredOrganization"}, {"version", "RegisteredVersion"}},
    {{"RegisteredName", 0, "Host Hardware RAID Controller"},
     {"RegisteredOrganization", 11}, // SNIA
     {"RegisteredVersion", 0, "1.6.1"},
     {"AdvertiseTypes", 2}}}; // not advertised
const ElementKind kPortController = {"controller", "PortController", Keys::Device, {}, {{"ElementName", 0, "{id}"}},
                                     &kNoStates};
const ElementKind kComputerSystem = {"system",
                                     "ComputerSystem",
                                     Keys::System,
                                     {},
                                     {{"ElementName", 0, "{id}"}, {"NameFormat", 0, "Other"}, {"Dedicated", 15}},
                                     &kNoStates}; // a block server
const ElementKind kPackage = {
    "package",
    "PhysicalPackage",
    Keys::Physical,
    {{"vendor", "Manufacturer"}, {"model", "Model"}, {"serial", "SerialNumber"}, {"health", "HealthState", &kHealth}},
    {{"HealthState", 5}}};
const ElementKind kSoftware = {
    "software", "SoftwareIdentity",       Keys::Instance, {{"version", "VersionString"}}, {{"Classifications", 10}},
    nullptr,    &kElementSoftwareIdentity};
const ElementKind kPool = {"pool", "StoragePool", Keys::Instance, {}, {}, &kNoStates, &kHostedStoragePool};
const ElementKind kChassis = {
    "enclosure", "Chassis",  Keys::Physical,   {{"model", "Model"}, {"serial", "SerialNumber"}},
    {},          &kNoStates, &kSystemPackaging};
const ElementKind kSlot = {"slot", "Slot", Keys::Physical};
const ElementKind kDisk = {"disk",
                           "DiskDrive",
                           Keys::Device,
                           {{"name", "Name"}, {"enabledState", "EnabledState"}},
                           {{"ElementName", 0, "Disk {id}"}, {"Name", 0, "{id}"}, {"EnabledState", 2}},
                           &kDiskStates,
                           &kSystemDevice};
const ElementKind kMedia = {"media", "StorageExtent", Keys::Device, {}, {{"BlockSize", 512}}};
const ElementKind kVolume = {"volume",
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
                             {{"BlockSize", 512}, {"Primordial", 0}, {"DeltaReservation", 0}},
                             &kVolumeStates,
                             &kSystemDevice};
const ElementKind kSetting = {"setting", "StorageSetting", Keys::Instance};
const ElementKind kPort = {"port",
                           "SASSATAPort",
                           Keys::Device,
                           {{"name", "ElementName"},
                            {"type", "PortType", &kPortTypes},
                            {"usage", "UsageRestriction", &kUsages},
                            {"speed", "Speed"}},
                           {{"PortType", 94}, {"UsageRestriction", 3}},
                           &kDeviceStates,
                           &kSystemDevice};
const ElementKind kBattery = {"battery",
                              "Battery",
                              Keys::Device,
                              {{"name", "ElementName"}, {"batteryStatus", "BatteryStatus", &kBatteryStatus}},
                              {{"BatteryStatus", 3}},
                              &kDeviceStates,
                              &kSystemDevice};
const ElementKind kOther = {"device", "LogicalDevice", Keys::Device,  {{"name", "ElementName"}},
                            {},       &kDeviceStates,  &kSystemDevice};

const RaidLevel &RaidLevelNamed(const std::optional<std::string> &name) {
    static constexpr RaidLevel kNone = {"", 1, 0};
    for (const RaidLevel &level : kRaidLevels)
        if (name == level.name) return level;
    return kNone;
}

} // namespace sim
