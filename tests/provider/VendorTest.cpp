// Vendors at their worst: texts of any bytes, long lists, doubled devices, hardware that changes while it is read.
#include "tests/provider/Answers.h"

#include <gmock/gmock.h>

using namespace support;
using cim::Operation;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

TEST(Vendors, TextsAreTakenAsTheBytesThatTheyAre) {
    const std::string longText(100'000, 'x');
    const struct {
        std::string text;
        std::string caption; // of a port of that name
    } cases[] = {
        {"", " on Controller c0"},
        {"%s%n%d", "%s%n%d on Controller c0"},
        {"a\nb\r\tc", "a\nb\r\tc on Controller c0"},
        {"\xc3\x28\xff\x80", "\xc3\x28\xff\x80 on Controller c0"}, // no UTF-8
        {longText, longText.substr(0, 127)},
        // Cut where a character ends, of two, three and four bytes.
        {std::string(126, 'x') + "\xc3\xa9", std::string(126, 'x')},
        {std::string(125, 'x') + "\xe2\x82\xac", std::string(125, 'x')},
        {std::string(126, 'x') + "\xe2\x82\xac", std::string(126, 'x')},
        {std::string(124, 'x') + "\xf0\x9f\x92\xbe", std::string(124, 'x')},
        {std::string(124, 'x') + "\xe2\x82\xac" + "yy", std::string(124, 'x') + "\xe2\x82\xac"},
        // Bytes that begin or continue nothing stay.
        {std::string(126, 'x') + "\xff\xff", std::string(126, 'x') + "\xff"},
        {std::string(120, 'x') + "\x80\x80\x80\x80\x80\x80\x80\x80",
         std::string(120, 'x') + "\x80\x80\x80\x80\x80\x80\x80"},
    };
    for (const auto &test : cases) {
        LinkedBench bench(OneOfEach());
        const Answers answers(bench);
        const auto is = [&](const char *className, const char *property) {
            bench.Inject(Answering(Operation::GetProperty, className, property, answers.String(test.text.c_str())));
        };
        is("Sim_SASSATAPort", "ElementName");
        is("Sim_StorageVolume", "Name");
        is("Sim_DiskDrive", "DeviceID");
        bench.Start();
        EXPECT_THAT(bench.Column(kPort, "Caption"), ElementsAre(test.caption));
        EXPECT_THAT(bench.Column(kVolume, "Name"), ElementsAre(test.text));
        EXPECT_STREQ(static_cast<DiskDrive_t *>(TheController()->DiskList->Head->Data)->DeviceID, test.text.c_str());
        // To the log they are arguments, too, and a message is one message whatever is in it.
        EXPECT_TRUE(Logged(LOG_INFO, "\nPortOp: *\n\tPortName:         - " + test.text + "\n*"));
        TestClock::Advance(StateUpdateInterval);
        for (const char *className : {kVolume, kPort}) bench.Refresh(className);
        EXPECT_THAT(bench.Column(kVolume, "Name"), ElementsAre(test.text));
        EXPECT_EQ(bench.Identifiers(kExtent).size(), 1u);
    }
}

TEST(Vendors, DoubledDevicesAreServedAndCanBeFetched) {
    LinkedBench bench(OneOfEach()
                          .WithDisk("x", {{"pool", "dg0"}})
                          .WithDisk("x", {{"pool", "dg0"}, {"duplicate", true}})
                          .WithVolume("w", {{"pool", "dg0"}})
                          .WithVolume("w", {{"pool", "dg0"}, {"duplicate", true}}));
    bench.StartInOrder();
    for (int refreshes = 0; refreshes < 3; ++refreshes) {
        EXPECT_TRUE(bench.Get(kExtent, "zbrStorageExtc0_x").Ok());
        EXPECT_TRUE(bench.Get(kVolume, "zbrStorageVolumec0_w").Ok());
        EXPECT_EQ(Members("dg0"), " d0 x");
        EXPECT_THAT(bench.Identifiers(kExtent),
                    UnorderedElementsAre("zbrStorageExtc0_d0", "zbrStorageExtc0_x", "zbrStorageExtc0_x"));
        bench.RefreshedColumn(kVolume, "Caption");
        bench.ExpectOnlyRecordsAlive();
    }
    bench.Change([](Hardware &hardware) { hardware.Remove("disks", "x"); });
    bench.RefreshedColumn(kVolume, "Caption");
    EXPECT_THAT(bench.Identifiers(kExtent), UnorderedElementsAre("zbrStorageExtc0_d0", "zbrStorageExtc0_x"));
}

TEST(Vendors, LongListsAreSearchedThroughEveryChange) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    constexpr int kListed = 40;
    Hardware hardware = Hardware().WithController("c0");
    for (int i = 0; i < kListed; ++i) {
        const std::string id = std::to_string(i);
        hardware.WithEnclosure("E" + id).WithPool("p" + id).WithVolume("v" + id, {{"pool", "p" + id}});
        hardware.WithDisk("d" + id, {{"pool", "p" + id}, {"enclosure", "E" + id}, {"slot", i}});
    }
    // Another disk of the ID of the first one, which takes its place when that goes.
    hardware.WithDisk("d0", {{"pool", "p0"},
                             {"enclosure", "E0"},
                             {"slot", 99},
                             {"class", "Sim_AcmeDiskDrive"},
                             {"parts", {{"package", {{"keys", {{"Tag", "twin"}}}}}}},
                             {"duplicate", true}});
    LinkedBench bench(hardware);
    bench.StartInOrder();
    const auto expectMembers = [&](const std::string &ofFirst, int listed) {
        for (int i = 0; i < kListed; ++i) {
            const std::string id = std::to_string(i);
            const std::string member = i == 0 ? ofFirst : i < listed ? "" : id + "eE" + id;
            const std::string caption = Shown(bench.Get(kVolume, "zbrStorageVolumec0_v" + id).value, "Caption");
            EXPECT_TRUE(Matches(caption, "*Drives(" + member + ")*")) << caption;
        }
    };
    expectMembers("0eE0", 0);
    bench.Change([](Hardware &described) {
        for (int i = 0; i < kListed / 2; ++i) described.Remove("disks", "d" + std::to_string(i));
    });
    bench.RefreshedColumn(kVolume, "Caption");
    expectMembers("99eE0", kListed / 2);
    bench.Change([&](Hardware &described) { described = hardware; });
    bench.RefreshedColumn(kVolume, "Caption");
    expectMembers("99eE0", 0);
    EXPECT_TRUE(NotLogged(LOG_INFO, "Find*: can not find*"));
}

// The hardware changes while it is read: at the nth of the calls with which a disk is read.
TEST(Vendors, ChangesInTheMiddleOfAnEnumerationAreSeenByTheNextRefresh) {
    Hardware hardware = OneController();
    for (const char *id : {"a", "b", "c", "d"}) hardware.WithDisk(id, {{"pool", "dg0"}});
    const auto change = [](Hardware &described) {
        described.Remove("disks", "a");
        described.Remove("disks", "d");
        described.Entry("disks", "c")["pool"] = "free";
        described.WithDisk("e", {{"pool", "dg0"}});
    };
    const std::vector<std::string> expected = {"zbrStorageExtc0_b", "zbrStorageExtc0_c", "zbrStorageExtc0_e"};
    for (const bool whileRefreshing : {false, true}) {
        bool reached = true;
        for (std::uint64_t n = 0; reached; n += 3) {
            SCOPED_TRACE(n);
            LinkedBench bench(whileRefreshing ? OneController().WithDisk("a", {{"pool", "dg0"}}) : hardware);
            if (whileRefreshing) {
                bench.StartAndWait();
                bench.Change([&](Hardware &described) { described = hardware; });
            }
            Rule rule({Operation::Associators, Operation::AssociatorNames, Operation::GetInstance});
            rule.After(n).Times(1).hook = [&](const cim::Call &) { bench.Change(change); };
            const auto id = bench.Inject(rule);
            if (whileRefreshing)
                bench.Refresh(kExtent);
            else
                bench.Start();
            reached = bench.Broker().Faults().Hit(id) > 0;
            if (!reached) break;
            bench.RefreshedColumn(kExtent, "Caption");
            EXPECT_THAT(bench.Identifiers(kExtent), testing::UnorderedElementsAreArray(expected));
            EXPECT_EQ(Members("free"), " c");
            bench.ExpectOnlyRecordsAlive();
        }
    }
}
