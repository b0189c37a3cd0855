// The kinds of objects in the Host Hardware RAID Controller profile's model, and the associations between them.
#pragma once

#include "cim/simhhrc/Elements.h"

namespace sim {

inline constexpr Association kElementConformsToProfile = {"ElementConformsToProfile",
                                                          {"ConformantStandard", "ManagedElement"}};
inline constexpr Association kLogicalIdentity = {"LogicalIdentity", {"SystemElement", "SameElement"}};
inline constexpr Association kRealizes = {"Realizes", {"Antecedent", "Dependent"}};
inline constexpr Association kElementSoftwareIdentity = {"ElementSoftwareIdentity", {"Antecedent", "Dependent"}};
inline constexpr Association kHostedStoragePool = {"HostedStoragePool", {"GroupComponent", "PartComponent"}};
inline constexpr Association kSystemPackaging = {"SystemPackaging", {"Antecedent", "Dependent"}};
inline constexpr Association kSystemDevice = {"SystemDevice", {"GroupComponent", "PartComponent"}};
inline constexpr Association kMediaPresent = {"MediaPresent", {"Antecedent", "Dependent"}};
inline constexpr Association kPackageInConnector = {"PackageInConnector", {"Antecedent", "Dependent"}};
inline constexpr Association kContainer = {"Container", {"GroupComponent", "PartComponent"}};
inline constexpr Association kConcreteComponent = {"ConcreteComponent", {"GroupComponent", "PartComponent"}};
inline constexpr Association kElementSettingData = {"ElementSettingData", {"ManagedElement", "SettingData"}};
inline constexpr Association kAllocatedFromStoragePool = {"AllocatedFromStoragePool", {"Antecedent", "Dependent"}};

extern const ElementKind kProfile, kPortController, kComputerSystem, kPackage, kSoftware, kPool, kChassis, kSlot, kDisk,
    kMedia, kVolume, kSetting, kPort, kBattery, kOther;

extern const Words kClassificationNames;

// How a RAID level protects what is on it.
struct RaidLevel {
    const char *name;
    std::uint16_t dataRedundancy;    // copies of the data
    std::uint16_t packageRedundancy; // disks that can be lost
};
// The level of that name; for any other text, and for none, one that protects nothing.
const RaidLevel &RaidLevelNamed(const std::optional<std::string> &name);

} // namespace sim
