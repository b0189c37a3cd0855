#include "cim/inventory/Captions.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

TEST(Captions, VolumesAreToldApartIntoLevelNameDrivesAndState) {
    struct Case {
        const char *caption;
        const char *level, *name, *drives, *state;
    };
    const Case cases[] = {
        {"RAID5 data Logical Volume 1 on controller c1, Drives(4e252,5e252) - OPTIMAL", "RAID5", "data", "4e252,5e252",
         "OPTIMAL"},
        {"Logical Volume 1 on controller c1 - UNDEFINED", "", "", "", "UNDEFINED"},
        {"RAID 10 my data Logical Volume 1 on controller c1, Drives() - DEGRADED", "RAID 10", "my data", "",
         "DEGRADED"},
        {"RAID1 Logical Volume 1 on controller c1, Drives(d7) - OFFLINE", "RAID1", "", "d7", "OFFLINE"},
        // A name that looks like the rest of a caption, an enclosure's tag with a parenthesis.
        {"Logical Volume 1 on controller c1 - OFFLINE Logical Volume 1 on controller c1, Drives(1e(a) - b) - OPTIMAL",
         "", "Logical Volume 1 on controller c1 - OFFLINE", "1e(a) - b", "OPTIMAL"},
        // Cut at the caption's limit: in the list, behind it, before it.
        {"RAID6 big Logical Volume 1 on controller c1, Drives(0e8,1e8,2", "RAID6", "big", "0e8,1e8,2...", ""},
        {"RAID6 big Logical Volume 1 on controller c1, Drives(0e8)", "RAID6", "big", "0e8", ""},
        {"RAID6 big Logical Volume 1 on controller c1, Drives(0e8) -", "RAID6", "big", "0e8", ""},
        {"RAID6 big Logical Volume 1 on contr", "", "", "", ""},
        {"", "", "", "", ""},
    };
    for (const auto &[caption, level, name, drives, state] : cases) {
        SCOPED_TRACE(caption);
        const auto facts = ReadVolumeCaption(caption, "c1", "1");
        EXPECT_EQ(facts.level, level);
        EXPECT_EQ(facts.name, name);
        EXPECT_EQ(facts.drives, drives);
        EXPECT_EQ(facts.state, state);
    }
}

TEST(Captions, AVolumesDrivesArePutInOrder) {
    const struct {
        const char *before, *after;
    } cases[] = {
        {"a (2e1,1e1) Logical Volume 1 on controller c1, Drives(10e252,d1,9e252,2e34) - OPTIMAL",
         "a (2e1,1e1) Logical Volume 1 on controller c1, Drives(2e34,9e252,10e252,d1) - OPTIMAL"},
        {"Logical Volume 1 on controller c1, Drives(3e252,2e252,1e25", // cut in a drive
         "Logical Volume 1 on controller c1, Drives(2e252,3e252,1e25"},
        {"Logical Volume 1 on controller c1, Drives(3e252,2e252) - DEG",
         "Logical Volume 1 on controller c1, Drives(2e252,3e252) - DEG"},
        {"Logical Volume 1 on controller c1, Drives() - DEGRADED",
         "Logical Volume 1 on controller c1, Drives() - DEGRADED"},
        {"Logical Volume 1 on controller c1, Drives(", "Logical Volume 1 on controller c1, Drives("},
        {"Logical Volume 1 on controller c1 - UNDEFINED", "Logical Volume 1 on controller c1 - UNDEFINED"},
        {"Drives(2e1,1e1)", "Drives(2e1,1e1)"},
    };
    for (const auto &[before, after] : cases) EXPECT_EQ(WithDrivesInOrder(before, "c1", "1"), after);
}

TEST(Captions, DisksAreToldApartIntoSlotEnclosureFirmwareAndState) {
    struct Case {
        const char *caption;
        const char *slot, *enclosure, *firmware, *state;
    };
    const Case cases[] = {
        {"Drive 4 in enclosure 252 on controller c1 Fw: n/a - HOT SPARE", "4", "252", "n/a", "HOT SPARE"},
        {"Drive pd_7 on controller c1 Fw: 01 - 02 - UNCONFIGURED GOOD", "", "", "01 - 02", "UNCONFIGURED GOOD"},
        {"Drive 0 in enclosure on controller c1 on controller c1 Fw: 1 - ONLINE", "0", "on controller c1", "1",
         "ONLINE"},
        {"Drive 4 in enclosure 252 on controller c1 Fw: 0102", "4", "252", "0102", ""},
        {"Drive 4 in enclosure 252 on contr", "", "", "", ""},
    };
    for (const auto &[caption, slot, enclosure, firmware, state] : cases) {
        SCOPED_TRACE(caption);
        const auto facts = ReadDiskCaption(caption, "c1");
        EXPECT_EQ(facts.slot, slot);
        EXPECT_EQ(facts.enclosure, enclosure);
        EXPECT_EQ(facts.firmware, firmware);
        EXPECT_EQ(facts.state, state);
    }
}

TEST(Captions, ControllersPortsAndVersions) {
    EXPECT_EQ(ModelIn("Controller c1 (R8i (rev. 2))", "c1"), "R8i (rev. 2)");
    EXPECT_EQ(ModelIn("Controller c1 (cut at its lim", "c1"), "cut at its lim");
    EXPECT_EQ(ModelIn("something else", "c1"), "");
    EXPECT_EQ(PortNameIn("Port 0 on Controller c1", "c1"), "Port 0");

    const auto versions = VersionsIn("5.2-0076 (Package); n/a (Fw)");
    EXPECT_EQ(versions.package, "5.2-0076");
    EXPECT_EQ(versions.firmware, "n/a");
    EXPECT_EQ(VersionsIn("5.2-0076").package, "5.2-0076");
}

TEST(Captions, RunsOfSlotsAreJoined) {
    EXPECT_EQ(JoinSlots("4e252,5e252,6e252,8e252"), "4-6e252,8e252");
    EXPECT_EQ(JoinSlots("4e252,5e252"), "4e252,5e252");
    EXPECT_EQ(JoinSlots("0ea,1ea,2ea,3eb,4eb,5eb"), "0-2ea,3-5eb");
    EXPECT_EQ(JoinSlots("d1,d2,d3"), "d1,d2,d3");
    EXPECT_EQ(JoinSlots("d9,11e2,9e2,10e10,10e2,d1"), "9-11e2,10e10,d1,d9");
    EXPECT_EQ(JoinSlots("d1,2e8,1e8,0e..."), "1e8,2e8,d1,0e...");
    EXPECT_EQ(JoinSlots(""), "");
}

} // namespace
} // namespace cim
