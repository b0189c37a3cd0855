// Reads the facts back out of the captions that the provider renders, so that tables can show them in columns. What a
// caption does not tell (it may be cut at its limit) stays empty.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cim {

// "Controller c1 (RAID 9460-16i)"
std::string ModelIn(std::string_view caption, const std::string &controller);

// "5.2-0076 (Package); 4.3 (Fw)"; "n/a" stays as it is.
struct Versions {
    std::string package, firmware;
};
Versions VersionsIn(std::string_view versionString);

// "RAID5 data Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL"
struct VolumeCaption {
    std::string level, name, drives, state;
};
VolumeCaption ReadVolumeCaption(std::string_view caption, const std::string &controller, const std::string &device);

// A volume's caption with its drives in JoinSlots' order: the provider lists them in the order in which it came to know
// them. A drive that the caption's limit cut in two stays the last; those behind it are not there to be put in order.
std::string WithDrivesInOrder(std::string_view caption, const std::string &controller, const std::string &device);

// "Drive 4 in enclosure 252 on controller c1 Fw: 0102 - ONLINE"
struct DiskCaption {
    std::string slot, enclosure, firmware, state;
};
DiskCaption ReadDiskCaption(std::string_view caption, const std::string &controller);

// "Port 0 on Controller c1"
std::string PortNameIn(std::string_view caption, const std::string &controller);

// A volume's drives one by one: "4e252" for a slot of an enclosure, else a disk's device ID. Views of `drives`. The
// last piece of a list that the caption cut ends in "...".
std::vector<std::string_view> SplitDrives(std::string_view drives);

// A volume's drives by enclosure and slot, with runs of slots joined: "6e252,4e252,5e252,8e252" becomes
// "4-6e252,8e252". Drives without a slot follow, and a piece that the
// caption cut comes last.
std::string JoinSlots(std::string_view drives);

} // namespace cim
