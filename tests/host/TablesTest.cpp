#include "cim/inventory/Tables.h"

#include "tests/host/Samples.h"

#include <gtest/gtest.h>

namespace cim {
namespace {

Instances OneServer() {
    Instances server;
    server[kController] = {SampleController("c1", "R8i")};
    server[kSoftware] = {SampleSoftware("c1", "24.1 (Package); 5.11 (Fw)")};
    server[kVolume] = {
        SampleVolume("c1_0", "RAID1 system Logical Volume 0 on controller c1, Drives(0e252,1e252) - OPTIMAL", 2, 5,
                     3907029168),
        SampleVolume("c1_1", "RAID5 data Logical Volume 1 on controller c1, Drives(2e252,3e252,4e252) - DEGRADED", 3,
                     10, 2147483648),
    };
    server[kDisk] = {
        SampleDisk("c1_a", "Drive 2 in enclosure 252 on controller c1 Fw: N0A4 - ONLINE", 2, 5, 1953525168),
        SampleDisk("c1_b", "Drive 10 in enclosure 252 on controller c1 Fw: n/a - FAILED", 6, 30, 2),
        SampleDisk("c1_c", "Drive 1 in enclosure 252 on controller c1 Fw: N0A4 - ONLINE", 2, 5, 1953525168),
    };
    server[kPort] = {Sample(kPort, "c1_p0",
                            {{"Caption", Value::Text("Port 0 on Controller c1")},
                             {"OperationalStatus", ListOf(3)},
                             {"HealthState", Number(0)},
                             {"PortType", Number(94)},
                             {"UsageRestriction", Number(3)}})};
    return server;
}

TEST(Tables, ShowEveryKindWorstHealthFirst) {
    // Sizes: 3907029168 blocks of 512 bytes are 1.819 TiB; 2^31 are 1 TiB; 1953525168 are 931.5 GiB; 2 are 1 KiB.
    EXPECT_EQ(RenderTables(Describe(OneServer()), {}),
              R"(Controllers
   CONTROLLER  MODEL  PACKAGE  FIRMWARE  STATE  HEALTH
   c1          R8i    24.1     5.11      OK     OK

Volumes
   CONTROLLER  VOLUME  NAME    LEVEL      SIZE  STATE     HEALTH   DRIVES
!  c1               1  data    RAID5  1.00 TiB  DEGRADED  Warning  2-4e252
   c1               0  system  RAID1  1.82 TiB  OPTIMAL   OK       0e252,1e252

Disks
   CONTROLLER  ENCLOSURE  SLOT  DISK        SIZE  FIRMWARE  STATE   HEALTH
!! c1          252          10  b       1.00 KiB  n/a       FAILED  Failed
   c1          252           1  c     931.51 GiB  N0A4      ONLINE  OK
   c1          252           2  a     931.51 GiB  N0A4      ONLINE  OK

Ports
   CONTROLLER  PORT  NAME    TYPE  USE            STATE     HEALTH
?  c1          p0    Port 0  SAS   Back-end only  Degraded  Unknown

Batteries: none

7 instances: 1 Failed, 1 Warning, 1 Unknown, 4 OK
)");
}

TEST(Tables, OneClassAlone) {
    TablesOptions options;
    options.only = &kServedClasses[kSoftware];
    EXPECT_EQ(RenderTables(Describe(OneServer()), options), R"(Software identities
   CONTROLLER  MODEL  PACKAGE  FIRMWARE
   c1          Model  24.1     5.11

1 instance
)");
}

TEST(Tables, ColoursGoToTheRowsThatAreNotWell) {
    TablesOptions options;
    options.only = &kServedClasses[kDisk];
    options.text.colour = true;
    const std::string text = RenderTables(Describe(OneServer()), options);
    EXPECT_NE(text.find("\033[1;31m!! c1          252          10"), std::string::npos) << text;
    EXPECT_NE(text.find("FAILED  Failed\033[0m\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\n   c1          252           1"), std::string::npos) << text;
}

TEST(Tables, ChangedRowsAreMarked) {
    const Inventory inventory = Describe(OneServer());
    TablesOptions options;
    options.only = &kServedClasses[kVolume];
    const std::set<std::string> changed{inventory[kVolume][0].path};
    options.changed = &changed;
    const std::string text = RenderTables(inventory, options);
    EXPECT_NE(text.find("\n! * c1               1  data"), std::string::npos) << text;
    EXPECT_NE(text.find("\n    c1               0  system"), std::string::npos) << text;
}

TEST(Tables, TheHealthiestRowsGiveWayOnALowScreen) {
    Instances server;
    for (int i = 0; i < 20; ++i) {
        const std::string slot = std::to_string(i);
        server[kDisk].push_back(
            SampleDisk("c1_" + slot,
                       "Drive " + slot + " in enclosure 1 on controller c1 Fw: 1 - " + (i == 17 ? "FAILED" : "ONLINE"),
                       i == 17 ? 6 : 2, i == 17 ? 30 : 5));
    }
    TablesOptions options;
    options.only = &kServedClasses[kDisk];
    options.height = 10;
    const std::string text = RenderTables(Describe(server), options);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10) << text;
    EXPECT_NE(text.find("!! c1          1            17"), std::string::npos) << text;
    EXPECT_NE(text.find("... and 15 more, none worse than OK\n"), std::string::npos) << text;
    EXPECT_NE(text.find("20 instances: 1 Failed, 19 OK\n"), std::string::npos) << text;
}

TEST(Tables, LinesAreCutToTheWidthByCharacter) {
    TextTable table{{{"NAME"}, {"X", true}}, {{"", {"\u00e4\u00f6\u00fc\u00e4\u00f6\u00fc", "1"}}}};
    EXPECT_EQ(Render(table, {}), "NAME    X\n\u00e4\u00f6\u00fc\u00e4\u00f6\u00fc  1\n");
    EXPECT_EQ(Render(table, {false, 4}), "NAME\n\u00e4\u00f6\u00fc\u00e4\n");
}

TEST(Tables, NothingFromOutsideReachesTheTerminalAsAControlCharacter) {
    EXPECT_EQ(Printable("a\033[2Jb\n\x7f\xc2\x9b\xc3\xa4"), "a?[2Jb???\xc3\xa4");
}

TEST(Inventory, AControllersUnderscoreDoesNotSplitItsDevicesWrongly) {
    Instances server;
    server[kController] = {SampleController("c1", "A"), SampleController("c1_0", "B")};
    server[kDisk] = {SampleDisk("c1_0_7", "", 2, 5), SampleDisk("c1_7_0", "", 2, 5), SampleDisk("cX_1_2", "", 2, 5)};
    const Inventory inventory = Describe(server);
    ASSERT_EQ(inventory[kDisk].size(), 3u);
    EXPECT_EQ(inventory[kDisk][0].controller, "c1");
    EXPECT_EQ(inventory[kDisk][0].device, "7_0");
    EXPECT_EQ(inventory[kDisk][1].controller, "c1_0");
    EXPECT_EQ(inventory[kDisk][1].device, "7");
    // A controller that no instance tells of: as the provider takes keys apart.
    EXPECT_EQ(inventory[kDisk][2].controller, "cX");
    EXPECT_EQ(inventory[kDisk][2].device, "1_2");
}

TEST(Inventory, DisksHaveASizeWhereTheServerDoesNotPassTheirBlocksSizeOn) {
    Instances server;
    server[kDisk] = {SampleDisk("c1_7", "", 2, 5, 4'194'304)};
    auto &properties = server[kDisk][0].properties;
    for (auto &property : properties)
        if (property.name.Text() == "BlockSize") property.value = Value::Null(CMPI_uint64);
    EXPECT_EQ(Describe(server)[kDisk].at(0).size, "2.00 GiB");
}

TEST(Inventory, InstancesWithoutPropertiesAreShownByTheirKeys) {
    Instances server;
    server[kDisk] = {SampleDisk("c1_7", "", 2, 5)};
    server[kDisk][0].properties.clear();
    const Item item = Describe(server)[kDisk].at(0);
    EXPECT_EQ(item.id, "zbrStorageExtc1_7");
    EXPECT_EQ(item.health, nullptr);
    EXPECT_EQ(item.state, "");
}

TEST(Inventory, StateWordsComeFromTheCaptionElseFromTheStatus) {
    Instances server;
    server[kDisk] = {SampleDisk("c1_1", "Drive x on controller c1 Fw: n/a - OFFLINE", 12, 20),
                     SampleDisk("c1_2", "cut", 12, 20), SampleDisk("c1_3", "cut", 1234, 20)};
    server[kBattery] = {SampleBattery("c1_b", 4, 15, 5)};
    const Inventory inventory = Describe(server);
    EXPECT_EQ(inventory[kDisk][0].state, "OFFLINE");
    EXPECT_EQ(inventory[kDisk][1].state, "No contact");
    EXPECT_EQ(inventory[kDisk][2].state, "1234");
    EXPECT_EQ(inventory[kBattery][0].state, "Dormant");
    EXPECT_EQ(inventory[kBattery][0].charge, "Low");
}

TEST(Inventory, AVolumesStateWordIsWholeWhereItsCaptionIsCut) {
    const struct {
        const char *end; // of the caption
        std::uint64_t status;
        const char *state;
    } cases[] = {
        {"1e8) - DEGRADED", 3, "DEGRADED"}, {"1e8) - DEG", 3, "DEGRADED"},
        {"1e8) -", 6, "OFFLINE"},           {"1e8,2", 2, "OPTIMAL"},
        {"1e8,2", 3, "DEGRADED"},           {"1e8,2", 12, "UNDEFINED"},
        {"1e8) - OPTIMAL", 3, "OPTIMAL"}, // what the caption says whole is what it says
    };
    for (const auto &[end, status, state] : cases) {
        Instances server;
        server[kController] = {SampleController("c1", "R8i")};
        server[kVolume] = {
            SampleVolume("c1_0", std::string("Logical Volume 0 on controller c1, Drives(") + end, status, 5)};
        EXPECT_EQ(Describe(server)[kVolume].at(0).state, state) << end;
    }
}

TEST(Inventory, ClassesAreFoundByNameAndByKind) {
    EXPECT_EQ(FindServedClass("zembra_quarnelBATTERY"), &kServedClasses[kBattery]);
    EXPECT_EQ(FindServedClass("Disk"), &kServedClasses[kDisk]);
    EXPECT_EQ(FindServedClass("CIM_Battery"), nullptr);
    EXPECT_EQ(FindServedClass(""), nullptr);
}

} // namespace
} // namespace cim
