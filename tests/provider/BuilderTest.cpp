// How vendors' objects become records: what a device cannot do without, and which pool a disk joins.
#include "tests/provider/Model.h"

using namespace support;

TEST(Builders, NeedAnIdentifierAndThoseOfPoolsAndChassisStopWhereItIsMissing) {
    const struct {
        const char *list, *missing; // of the second of three
        const char *record, *built, *error;
    } cases[] = {
        {"disks", "DeviceID", "DiskOp ", "1 3 ", "NULL DeviceID for disk *Sim_DiskDrive*\n"},
        {"volumes", "DeviceID", "VolumeOp ", "1 3 ", "NULL DeviceID for volume *Sim_StorageVolume*\n"},
        {"ports", "DeviceID", "PortOp ", "1 3 ", "NULL DeviceID for port *Sim_SASSATAPort*\n"},
        {"batteries", "DeviceID", "BatteryOp ", "1 3 ", "NULL DeviceID for battery *Sim_Battery*\n"},
        {"pools", "InstanceID", "PoolOp Sim:c0:pool:", "1 ", "NULL InstanceID or PoolID for pool *Sim_StoragePool*\n"},
        {"pools", "PoolID", "PoolOp Sim:c0:pool:", "1 ", "NULL InstanceID or PoolID for pool *Sim_StoragePool*\n"},
        {"enclosures", "Tag", "ChassisOp c0_", "1 ", "NULL tag for chassis *Sim_Chassis*\n"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.list);
        Hardware hardware = Hardware().WithController("c0");
        for (const char *id : {"1", "2", "3"}) {
            Json entry = {{"id", id}};
            if (id[0] == '2') entry["omit"] = Json::array({test.missing});
            if (std::string(test.list) == "volumes") entry["pool"] = "p";
            hardware.Controller()[test.list].push_back(entry);
        }
        hardware.WithPool("p", {{"primordial", true}}).WithBattery("b"); // the rest is built all the same
        if (std::string(test.list) == "pools") hardware.Remove("pools", "p");
        LinkedBench bench(hardware);
        bench.StartInOrder();
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, test.error));
        const Facts facts = FactsOf(bench);
        std::string built;
        for (const char *id : {"1", "2", "3"})
            if (facts.count(test.record + std::string(id) + ".OperationalStatus") != 0) built += std::string(id) + " ";
        EXPECT_EQ(built, test.built);
        EXPECT_EQ(bench.Identifiers(kBattery).back(), "zbrControllerBatteryc0_b");
        bench.ExpectOnlyRecordsAlive();
    }
}

TEST(ChassisBuilder, DerivesTheShortTagFromTheTag) {
    const struct {
        const char *tag, *expected;
    } cases[] = {
        {"C0__E8", "E8"},  {"C0_E8_1", "E8_1"}, {"C0E8", "E8"},    {"C0", "NULL"},
        {"C0___", "NULL"}, {"X0_E8", "NULL"},   {"c0_E8", "NULL"}, {"C", "NULL"},
    };
    Hardware hardware = Hardware().WithController("C0");
    int id = 0;
    for (const auto &test : cases) hardware.WithEnclosure(std::to_string(id++), {{"tag", test.tag}});
    LinkedBench bench(hardware);
    bench.Start();
    Facts facts = FactsOf(bench);
    for (const auto &test : cases)
        EXPECT_EQ(facts["ChassisOp " + std::string(test.tag) + ".InternalTag"], test.expected) << test.tag;
}

TEST(DiskBuilder, JoinsTheFirstPoolOfTheModelAndElseKeepsTheLastOnesName) {
    const struct {
        const char *name;
        Json pools;
        const char *pool, *dg0, *free; // the disk's own, and the members of two
    } cases[] = {
        {"one", "dg0", "Sim:c0:pool:dg0", " d", ""},
        {"two known", {"free", "dg0"}, "Sim:c0:pool:free", "", " d"},
        {"second known", {"c1/far", "dg0"}, "Sim:c0:pool:dg0", " d", ""},
        {"none known", {"c1/far", "c1/farther"}, "Sim:c1:pool:farther", "", ""},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        Hardware hardware = OneController().WithController("c1").WithPool("far").WithPool("farther");
        hardware.Controller("c0")["disks"] = {{{"id", "d"}, {"pool", test.pools}}};
        LinkedBench bench(hardware);
        bench.Start();
        EXPECT_STREQ(static_cast<DiskDrive_t *>(TheController()->DiskList->Head->Data)->Pool, test.pool);
        EXPECT_EQ(Members("dg0"), test.dg0);
        EXPECT_EQ(Members("free"), test.free);
        EXPECT_EQ(Members("far", 1) + Members("farther", 1), "");
    }
}

TEST(DiskBuilder, TakesADiskThatCannotBeListedOutOfItsPoolAgain) {
    LinkedBench bench(OneOfEach());
    bench.StartAndWait();
    bench.Change([](Hardware &hardware) { hardware.WithDisk("d1", {{"pool", "dg0"}}); });
    const Invocation call(bench);
    RaidController_t *ctrl = TheController();
    const CMPIEnumeration *drives =
        Associators(call.Context(), ctrl->ControllerOp, "CIM_SystemDevice", "CIM_DiskDrive");
    CMPIInstance *drive = nullptr;
    while (Next(drives, &drive)) {} // to the new one
    List_t *list = std::exchange(ctrl->DiskList, nullptr);
    EXPECT_EQ(BuildDiskInfo(nullptr, call.Context(), ctrl, drive, PathOf(drive)), -1);
    ctrl->DiskList = list;
    EXPECT_TRUE(Logged(LOG_ERR, "BuildDiskInfo: failed to add disk * to list *, rc -1.\n"));
    EXPECT_EQ(Members("dg0"), " d0");
}

TEST(DiskBuilder, ShowsNobodyAPoolWithADiskThatIsNotListed) {
    const LogMask quiet(LOG_UPTO(LOG_WARNING));
    Hardware hardware = OneController();
    for (int i = 0; i < 300; ++i) hardware.WithDisk(std::to_string(i), {{"pool", "dg0"}});
    LinkedBench bench(hardware);
    bench.Load();
    RaidController_t *ctrl = TheController();
    EXPECT_TRUE(Eventually([&] {
        const ControllerLock lock(ctrl->CtrlMutex);
        const StoragePool_t *pool = FindStoragePoolByID(ctrl, "Sim:c0:pool:dg0");
        if (pool == nullptr) return false;
        EXPECT_EQ(pool->Drives->Size, ctrl->DiskList->Size);
        return pool->Drives->Size == 300 || testing::Test::HasFailure();
    }));
}
