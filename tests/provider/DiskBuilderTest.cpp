// How a drive becomes a disk record: the walk outward from it, and what the record can do without.
#include "tests/provider/Linked.h"

#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// What the walk outward from a drive brought.
std::string Walked(const DiskDrive_t *disk) {
    return std::string("fw=") + Shown(disk->FwVersion) + " slot=" + std::to_string(disk->SlotNumber) +
           " chassis=" + Shown(disk->Chassis) + " pool=" + Shown(disk->Pool);
}

// The controller's disks and what each pool lists, as text.
std::vector<std::string> Disks(const RaidController_t *ctrl) {
    std::vector<std::string> disks;
    for (const DiskDrive_t *disk : Each<DiskDrive_t>(ctrl->DiskList))
        disks.push_back(std::string(disk->DeviceID) + ": " + Walked(disk));
    return disks;
}

} // namespace

TEST(DiskBuilder, FillsEveryFieldFromTheWalk) {
    LinkedBench bench(OneOfEach());
    bench.Change([](Hardware &hardware) {
        hardware.Entry("disks", "d0")
            .update({{"name", "Disk 4"},
                     {"blocks", 1758174768},
                     {"consumableBlocks", 7},
                     {"primordial", true},
                     {"status", {3, 2}},
                     {"extentStatus", {11, 2}},
                     {"enabledState", 3}});
        hardware.Entry("disks", "d0").erase("size");
    });
    bench.Start();
    const RaidController_t *ctrl = TheController();
    ASSERT_EQ(ctrl->DiskList->Size, 1u);
    const auto *disk = static_cast<DiskDrive_t *>(ctrl->DiskList->Head->Data);
    EXPECT_EQ(Walked(disk), "fw=N0A4 slot=4 chassis=c0_252 pool=Sim:c0:pool:dg0");
    EXPECT_EQ(Members("dg0"), " d0");
    EXPECT_STREQ(disk->Name, "Disk 4");
    EXPECT_EQ(disk->Model, nullptr);
    EXPECT_EQ(disk->NumberOfBlocks, 1758174768u);
    EXPECT_EQ(disk->ConsumableBlocks, 7u);
    EXPECT_EQ(disk->Primordial, 1);
    EXPECT_EQ(disk->EnabledState, 3);
    EXPECT_EQ(disk->OperationalStatus, 3);
    EXPECT_EQ(disk->ExtentStatus, 11);
    EXPECT_EQ(disk->UpdateEnabled, 0);
    EXPECT_EQ(disk->LastUpdateTime, kStart);
    EXPECT_EQ(ctrl->DiskUpdateTime, kStart);
    EXPECT_TRUE(Logged(LOG_INFO,
                       "\nDiskOp: *Sim_DiskDrive*\nExtentOp: *Sim_StorageExtent*\n\tDeviceID          - d0\n"
                       "\tName              - Disk 4\n\tFirmwareVersion   - N0A4\n\tNumberOfBlocks    - 1758174768\n"
                       "\tConsumableBlocks  - 7\n\tPrimordial        - 1\n\tEnabledState      - 3\n"
                       "\tOperationalStatus - 3\n\tSlot              - 4\n\tChassis           - c0_252\n"));
}

TEST(DiskBuilder, GoesWithoutWhatAFailedOrEmptyStepWouldHaveBrought) {
    const std::string all = "fw=N0A4 slot=4 chassis=c0_252 pool=Sim:c0:pool:dg0";
    const struct {
        Operation operation;
        const char *from, *association, *result;
        std::string walked;    // empty: the disk is refused
        const char *onEmpty;   // error then; null: none
        const char *onFailure; // second error then; null: none
    } steps[] = {
        {Operation::Associators, "Sim_DiskDrive", "CIM_MediaPresent", "NULL", "", "Disk d0 no media present\n",
         nullptr},
        {Operation::Associators, "Sim_DiskDrive", "CIM_ElementSoftwareIdentity", "CIM_SoftwareIdentity",
         "fw=NULL slot=4 chassis=c0_252 pool=Sim:c0:pool:dg0", "Disk d0 firmware version no available\n", nullptr},
        {Operation::AssociatorNames, "Sim_DiskDrive", "CIM_Realizes", "CIM_PhysicalPackage",
         "fw=N0A4 slot=0 chassis=NULL pool=Sim:c0:pool:dg0", nullptr, nullptr},
        {Operation::Associators, "Sim_PhysicalPackage", "CIM_PackageInConnector", "CIM_Slot",
         "fw=N0A4 slot=0 chassis=NULL pool=Sim:c0:pool:dg0", nullptr, nullptr},
        {Operation::AssociatorNames, "Sim_Slot", "CIM_Container", "CIM_Chassis",
         "fw=N0A4 slot=4 chassis=NULL pool=Sim:c0:pool:dg0", nullptr, nullptr},
        {Operation::AssociatorNames, "Sim_StorageExtent", "CIM_ConcreteComponent", "CIM_StoragePool", "",
         "No pool associated with disk *Sim_DiskDrive*\n", "No pool associated with disk *Sim_DiskDrive*\n"},
    };
    for (const auto &step : steps) {
        for (const auto effect : {FaultRule::Effect::Fail, FaultRule::Effect::NullWithOk, FaultRule::Effect::Empty}) {
            SCOPED_TRACE(step.association + std::to_string(static_cast<int>(effect)));
            LinkedBench bench(OneOfEach());
            Rule rule = Rule(step.operation).From(step.from).Along(step.association).Does(effect).Saying("not now");
            rule.rc = CMPI_RC_ERR_ACCESS_DENIED;
            bench.Inject(rule);
            bench.Start();
            const RaidController_t *ctrl = TheController();
            if (step.walked.empty()) {
                EXPECT_THAT(Disks(ctrl), IsEmpty());
                EXPECT_TRUE(Logged(LOG_DEBUG, "BuildDiskInfo, EXIT(-1).\n"));
            } else {
                EXPECT_THAT(Disks(ctrl), ElementsAre("d0: " + step.walked));
            }
            EXPECT_EQ(Members("dg0"), step.walked.empty() ? "" : " d0");
            std::vector<std::string> expected;
            const bool failed = effect == FaultRule::Effect::Fail;
            if (failed)
                expected.push_back(
                    std::string(step.operation == Operation::Associators ? "Associators" : "AssociatorNames") + " *" +
                    step.from + "* (assocClass: " + step.association + ", resultClass: " + step.result +
                    ") failed, status: rc 2, msg not now");
            const bool noPool = std::string(step.association) == "CIM_ConcreteComponent";
            if (failed && step.onFailure != nullptr) expected.push_back(step.onFailure);
            if ((effect == FaultRule::Effect::Empty || (noPool && !failed)) && step.onEmpty != nullptr)
                expected.push_back(step.onEmpty);
            const auto errors = LogCapture::Texts("*", LOG_ERR);
            ASSERT_EQ(errors.size(), expected.size()) << testing::PrintToString(errors);
            for (std::size_t i = 0; i < errors.size(); ++i) EXPECT_TRUE(Matches(errors[i], expected[i])) << errors[i];
            bench.ExpectOnlyRecordsAlive();
        }
    }
}

TEST(DiskBuilder, AsksNoFurtherThanTheStepThatBroughtNothing) {
    const struct {
        const char *missing; // part of the disk
        std::vector<std::string> walked;
    } cases[] = {
        {"media", {"CIM_MediaPresent"}},
        {"package", {"CIM_MediaPresent", "CIM_ElementSoftwareIdentity", "CIM_Realizes", "CIM_ConcreteComponent"}},
        {"slot",
         {"CIM_MediaPresent", "CIM_ElementSoftwareIdentity", "CIM_Realizes", "CIM_PackageInConnector",
          "CIM_ConcreteComponent"}},
    };
    for (const auto &test : cases) {
        LinkedBench bench(
            OneController().WithDisk("d0", {{"enclosure", "252"}, {"slot", 4}, {"parts", {{test.missing, nullptr}}}}));
        bench.Broker().LogCalls(true);
        bench.Start();
        std::vector<std::string> walked;
        for (const cim::Call &call : bench.Broker().TakeCalls())
            for (const char *from : {"Sim_DiskDrive", "Sim_PhysicalPackage", "Sim_Slot", "Sim_StorageExtent"})
                if (call.provider == kProvider && call.className == from) walked.push_back(call.associationClass);
        EXPECT_EQ(walked, test.walked) << test.missing;
    }
}

TEST(DiskBuilder, JoinsTheFirstPoolOfTheModelAndElseKeepsTheLastOnesName) {
    const struct {
        const char *name;
        Json pools;
        const char *pool;
        const char *dg0, *free; // members
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
        const RaidController_t *ctrl = TheController();
        EXPECT_THAT(Disks(ctrl), ElementsAre(std::string("d: fw=NULL slot=0 chassis=NULL pool=") + test.pool));
        EXPECT_EQ(Members("dg0"), test.dg0);
        EXPECT_EQ(Members("free"), test.free);
        EXPECT_EQ(Members("far", 1) + Members("farther", 1), "");
    }
}

TEST(DiskBuilder, RefusesADiskWithoutIdentifierOrPoolName) {
    {
        LinkedBench bench(OneController().WithDisk("a").WithDisk("b", {{"omit", {"DeviceID"}}}).WithDisk("c"));
        bench.StartInOrder();
        EXPECT_THAT(bench.Identifiers(kExtent), ElementsAre("zbrStorageExtc0_a", "zbrStorageExtc0_c"));
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "NULL DeviceID for disk *Sim_DiskDrive*\n"));
    }
    LinkedBench bench(OneController().WithDisk("a"));
    bench.Change([](Hardware &hardware) {
        for (Json &pool : hardware.Controller()["pools"]) pool["omitKeys"] = {"InstanceID"};
    });
    bench.Start();
    EXPECT_THAT(bench.Identifiers(kExtent), IsEmpty());
    EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "No pool associated with disk *\n"));
}

TEST(DiskBuilder, ReadsItsStatusBeforeItAsksForMore) {
    LinkedBench bench(OneOfEach());
    for (const auto &[device, walk] :
         {std::pair("Sim_DiskDrive", "CIM_MediaPresent"), std::pair("Sim_StorageVolume", "CIM_ElementSettingData")}) {
        std::vector<std::string> order;
        FaultRule status = Rule(Operation::GetProperty).From(device);
        status.rewrite = [&order](const std::string &name, CMPIData &, CMPIStatus &) {
            if (name == "OperationalStatus") order.push_back(name);
        };
        FaultRule asked = Rule(Operation::Associators).Along(walk);
        asked.hook = [&order, walk = walk](const cim::Call &) { order.push_back(walk); };
        bench.Inject(status);
        bench.Inject(asked);
        bench.Start();
        EXPECT_THAT(order, ElementsAre("OperationalStatus", walk));
        bench.Broker().Faults().Clear();
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    }
}

TEST(DiskBuilder, ShowsNobodyAPoolWithADiskThatIsNotListed) {
    const LogMask quiet(LOG_UPTO(LOG_WARNING));
    Hardware hardware = OneController();
    for (int i = 0; i < 300; ++i) hardware.WithDisk(std::to_string(i), {{"pool", "dg0"}});
    LinkedBench bench(hardware);
    bench.Load();
    RaidController_t *ctrl = TheController();
    std::uint32_t seen = 0;
    EXPECT_TRUE(Eventually([&] {
        const ControllerLock lock(ctrl->CtrlMutex);
        const StoragePool_t *pool = FindStoragePoolByID(ctrl, "Sim:c0:pool:dg0");
        if (pool == nullptr) return false;
        seen = pool->Drives->Size;
        EXPECT_EQ(seen, ctrl->DiskList->Size);
        return seen == 300 || testing::Test::HasFailure();
    }));
    EXPECT_EQ(seen, 300u);
}

TEST(DiskBuilder, AloneLooksAtItsArguments) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    const Invocation call(bench);
    RaidController_t *ctrl = TheController();
    const CMPIObjectPath *op = GetDiskOp(ctrl->DiskList->Head->Data);
    const CMPIInstance *drive = GetInstance(call.Context(), op);
    EXPECT_EQ(BuildDiskInfo(nullptr, call.Context(), nullptr, drive, op), -1);
    EXPECT_EQ(BuildDiskInfo(nullptr, call.Context(), ctrl, nullptr, op), -1);
    EXPECT_EQ(BuildDiskInfo(nullptr, call.Context(), ctrl, drive, nullptr), -1);
    EXPECT_EQ(ctrl->DiskList->Size, 1u);
}
