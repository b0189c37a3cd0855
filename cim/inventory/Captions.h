// Reads the facts back out of the captions that the provider renders: they are all that a client of any server has.
// What a caption does not tell (it may be cut at its limit) stays empty.
#pragma once

#include "cim/inventory/Inventory.h"

#include <string>
#include <string_view>
#include <vector>

namespace cim {

// By the item's class, from a caption as the provider renders it (and a software identity's versions):
//     Controller c1 (MODEL)                                                        PACKAGE (Package); FIRMWARE (Fw)
//     LEVEL NAME Logical Volume 1 on controller c1, Drives(DRIVE,DRIVE,...) - STATE
//     Drive SLOT in enclosure ENCLOSURE on controller c1 Fw: FIRMWARE - STATE
//     NAME on Controller c1
// A volume's drives become driveList, as they stand there, and drives, with runs of slots joined: "4-6e252,8e252". Its
// state may be cut, too.
void ReadCaption(Item &item);

// A volume's caption with its drives by enclosure and slot: the provider lists them in the order in which it came to
// know them. Drives without a slot follow. A drive that the caption's limit cut in two stays the last; those behind it
// are not there to be put in order.
std::string WithDrivesInOrder(std::string_view caption, const Item &volume);

// A volume's drives one by one: "4e252" for a slot of an enclosure, else a disk's device ID. Views of `drives`. The
// last piece of a list that the caption cut ends in "...".
std::vector<std::string_view> SplitDrives(std::string_view drives);

// The order in which people look for names with numbers in them: "c2" before "c10".
bool NaturallyBefore(std::string_view a, std::string_view b);

} // namespace cim
