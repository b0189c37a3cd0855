// Every property and key that the provider reads of vendors' objects is missing, null or of another type in turn, and
// counts as absent.
#include "tests/provider/Answers.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <map>
#include <mutex>
#include <set>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

using Facts = std::map<std::string, std::string>; // by kind and name: disk.Slot
using Words = std::vector<std::string>;

// One device of each kind, with nothing that would be the same if it were absent.
Hardware Whole() {
    return Hardware()
        .WithController(
            "c0",
            {{"model", "R8i"},
             {"status", 3},
             {"health", "major"},
             {"software", {{{"kind", "firmware"}, {"version", "1.1"}}, {{"kind", "bundle"}, {"version", "2.2"}}}}})
        .WithEnclosure("252", {{"status", 3}})
        .WithPool("p", {{"primordial", true}, {"size", 4096}, {"free", 512}, {"status", 3}})
        .WithDisk("d", {{"pool", "p"},
                        {"enclosure", "252"},
                        {"slot", 4},
                        {"blocks", 1000},
                        {"consumableBlocks", 900},
                        {"firmware", "N0A4"},
                        {"name", "Disk"},
                        {"enabledState", 3},
                        {"primordial", true},
                        {"status", 6},
                        {"extentStatus", 11}})
        .WithVolume("v", {{"pool", "p"},
                          {"name", "data"},
                          {"raid", "RAID6"},
                          {"blocks", 800},
                          {"consumableBlocks", 700},
                          {"status", 3},
                          {"extentStatus", 11},
                          {"uniqueId", "naa"},
                          {"nameFormat", 9},
                          {"nameNamespace", 2},
                          {"dataRedundancy", 2},
                          {"packageRedundancy", 3},
                          {"basedOnRedundancy", true},
                          {"deltaReservation", 100},
                          {"primordial", true}})
        .WithPort("p0", {{"name", "Port 0"}, {"type", 94}, {"usage", 3}, {"status", 6}})
        .WithBattery("b", {{"batteryStatus", 4}, {"status", 6}});
}

std::string Plain(const char *text) { return Shown(text); }
std::string Plain(std::uint64_t number) { return std::to_string(number); }

// All records, by field, with what clients see of it where that says more.
Facts Model(LinkedBench &bench) {
    Facts facts;
    const auto add = [&facts](const std::string &kind,
                              std::initializer_list<std::pair<const char *, std::string>> more) {
        for (const auto &[name, value] : more)
            if (!facts.emplace(kind + "." + name, value).second) facts[kind + ".doubled"] = "true";
    };
    std::map<std::string, std::string> captions;
    for (const char *className : kServedClasses)
        for (const std::string &caption : bench.Column(className, "Caption")) captions[className] = caption;
    for (const std::string &version : bench.Column(kSoftware, "VersionString"))
        add("controller", {{"VersionString", version}});
    for (const RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList)) {
        add("controller", {{"ID", Plain(ctrl->DeviceID)},
                           {"Caption", captions[kController]},
                           {"Status", Plain(ctrl->OperationalStatus)},
                           {"Health", Plain(ctrl->HealthState)}});
        for (const StoragePool_t *pool : Each<StoragePool_t>(ctrl->PoolList))
            add("pool", {{"ID", Plain(pool->InstanceID)},
                         {"PoolID", Plain(pool->PoolID)},
                         {"Primordial", Plain(pool->Primordial)},
                         {"Status", Plain(pool->OperationalStatus)},
                         {"Total", Plain(pool->TotalManagedSpace)},
                         {"Remaining", Plain(pool->RemainingManagedSpace)},
                         {"Drives", Members(pool->PoolID)}});
        for (const Chassis_t *chassis : Each<Chassis_t>(ctrl->ChassisList))
            add("chassis", {{"Tag", Plain(chassis->Tag)}, {"Status", Plain(chassis->OperationalStatus)}});
        for (const DiskDrive_t *disk : Each<DiskDrive_t>(ctrl->DiskList))
            add("disk", {{"ID", Plain(disk->DeviceID)},
                         {"Caption", captions[kExtent]},
                         {"Name", Plain(disk->Name)},
                         {"EnabledState", Plain(disk->EnabledState)},
                         {"Status", Plain(disk->OperationalStatus)},
                         {"ExtentStatus", Plain(disk->ExtentStatus)},
                         {"Blocks", Plain(disk->NumberOfBlocks)},
                         {"Consumable", Plain(disk->ConsumableBlocks)},
                         {"Primordial", Plain(disk->Primordial)},
                         {"Slot", Plain(disk->SlotNumber)},
                         {"Chassis", Plain(disk->Chassis)},
                         {"Pool", Plain(disk->Pool)}});
        for (const StorageVolume_t *volume : Each<StorageVolume_t>(ctrl->VolumeList))
            add("volume", {{"ID", Plain(volume->DeviceID)},
                           {"Caption", captions[kVolume]},
                           {"Name", Plain(volume->Name)},
                           {"NameFormat", Plain(volume->NameFormat)},
                           {"NameNameSpace", Plain(volume->NameNameSpace)},
                           {"Status", Plain(volume->OperationalStatus)},
                           {"ExtentStatus", Plain(volume->ExtentStatus)},
                           {"Blocks", Plain(volume->NumberOfBlocks)},
                           {"Consumable", Plain(volume->ConsumableBlocks)},
                           {"DataRedundancy", Plain(volume->DataRedundancy)},
                           {"PackageRedundancy", Plain(volume->PackageRedundancy)},
                           {"BasedOn", Plain(volume->IsBasedOnUnderlyingRedundancy)},
                           {"Delta", Plain(volume->DeltaReservation)},
                           {"Primordial", Plain(volume->Primordial)},
                           {"Pool", Plain(volume->FromPool)}});
        for (const SASSATAPort_t *port : Each<SASSATAPort_t>(ctrl->PortList))
            add("port", {{"ID", Plain(port->DeviceID)},
                         {"Caption", captions[kPort]},
                         {"Type", Plain(port->PortType)},
                         {"Usage", Plain(port->UsageRestriction)},
                         {"Status", Plain(port->OperationalStatus)}});
        for (const Battery_t *battery : Each<Battery_t>(ctrl->BatteryList))
            add("battery", {{"ID", Plain(battery->DeviceID)},
                            {"BatteryStatus", Plain(battery->BatteryStatus)},
                            {"Status", Plain(battery->OperationalStatus)}});
    }
    add("host", {{"Name", Plain(GetSystemName())}, {"Class", Plain(GetSystemClassName())}});
    return facts;
}

std::string KindOf(const std::string &fact) { return fact.substr(0, fact.find('.')); }

// What has become of the model: "disk.Slot=0" for a fact with another value, "-disk" for a kind that is gone.
Words Changes(const Facts &before, const Facts &after) {
    std::set<std::string> changes;
    std::set<std::string> kinds;
    for (const auto &[name, value] : after) {
        kinds.insert(KindOf(name));
        const auto old = before.find(name);
        if (old == before.end() || old->second != value) changes.insert(name + "=" + value);
    }
    for (const auto &[name, value] : before)
        if (after.count(name) == 0) changes.insert("-" + (kinds.count(KindOf(name)) != 0 ? name : KindOf(name)));
    return Words(changes.begin(), changes.end());
}

enum Type { kText = 1, kNumber = 2, kFlag = 4, kArray = 8 };

// An answer that counts as absent where a value of one of the types is wanted.
struct Absent {
    const char *name;
    int types;
    CMPIData answer;
    CMPIrc rc = CMPI_RC_OK;
};

std::vector<Absent> AllAbsent(const Answers &answers) {
    constexpr int all = kText | kNumber | kFlag | kArray;
    return {
        {"missing", all, Answers::Plain(CMPI_null, 0, CMPI_notFound), CMPI_RC_ERR_NO_SUCH_PROPERTY},
        {"failed", kText, answers.String("x"), CMPI_RC_ERR_FAILED},
        {"failed", kNumber, Answers::Plain(CMPI_uint16, 7), CMPI_RC_ERR_FAILED},
        {"failed", kFlag, Answers::Plain(CMPI_boolean, 1), CMPI_RC_ERR_FAILED},
        {"failed", kArray, answers.Array(CMPI_uint16, 2), CMPI_RC_ERR_FAILED},
        {"null", kText, Answers::WithState(answers.String("x"), CMPI_nullValue)},
        {"null", kNumber, Answers::Plain(CMPI_uint16, 7, CMPI_nullValue)},
        {"null", kFlag, Answers::Plain(CMPI_boolean, 1, CMPI_nullValue)},
        {"null", kArray, Answers::WithState(answers.Array(CMPI_uint16, 2), CMPI_nullValue)},
        {"bad", kText, Answers::WithState(answers.String("x"), CMPI_badValue)},
        {"bad", kArray, Answers::WithState(answers.Array(CMPI_uint16, 2), CMPI_badValue)},
        {"no object", kText, Answers::Plain(CMPI_string, 0)},
        {"no object", kArray, Answers::Plain(CMPI_uint16A, 0)},
        {"a text", kNumber | kFlag | kArray, answers.String("7")},
        {"a number", kText | kFlag | kArray, Answers::Plain(CMPI_uint8, 1)},
        {"a flag", kText | kNumber | kArray, Answers::Plain(CMPI_boolean, 1)},
        {"a real", kText | kNumber | kFlag | kArray, Answers::Real(2)},
        {"a negative number", kNumber, Answers::Plain(CMPI_sint16, -1)},
        {"an array of numbers", kText | kNumber | kFlag, answers.Array(CMPI_uint16, 2)},
        {"an array of texts", kText | kNumber | kFlag | kArray, answers.Array(CMPI_string, 0)},
        {"an array of flags", kArray, answers.Array(CMPI_boolean, 1)},
        {"an array of numbers that do not fit", kArray, answers.Array(CMPI_uint32, 70000)},
        {"an array of negative numbers", kArray, answers.Array(CMPI_sint8, -1)},
        {"an array of nulls", kArray, answers.Array(CMPI_uint16, -1)},
        {"an array of nothing", kArray, answers.Empty()},
    };
}

// The provider's next life, until every kind has been refreshed once.
void Live(LinkedBench &bench) {
    TestClock::Advance(3600);
    ASSERT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    bench.Start();
    TestClock::Advance(StateUpdateInterval);
    for (const char *className : {kVolume, kPort, kBattery}) bench.Refresh(className);
}

// All that is read of vendors' objects, and what becomes of the model without it.
const struct Reading {
    const char *className, *name;
    Type type;
    Words changes;
    Operation operation = Operation::GetProperty;
} kReadings[] = {
    {"Sim_RegisteredProfile",
     "RegisteredName",
     kText,
     {"-battery", "-chassis", "-controller", "-disk", "-pool", "-port", "-volume", "host.Class=NULL",
      "host.Name=NULL"}},
    {"Sim_RegisteredProfile", "RegisteredVersion", kText, {}},
    {"Sim_RegisteredProfile", "RegisteredOrganization", kNumber, {}},
    {"OMC_UnitaryComputerSystem", "Name", kText, {"host.Name=NULL"}},
    {"OMC_UnitaryComputerSystem", "ElementName", kText, {}},
    {"OMC_UnitaryComputerSystem", "CreationClassName", kText, {"host.Class=NULL"}},

    {"Sim_PortController",
     "DeviceID",
     kText,
     {"-battery", "-chassis", "-controller", "-disk", "-pool", "-port", "-volume"}},
    {"Sim_ComputerSystem", "OperationalStatus", kArray, {"controller.Status=0"}},
    {"Sim_PhysicalPackage", "Model", kText, {"controller.Caption=Controller c0 (n/a)"}},
    {"Sim_PhysicalPackage", "HealthState", kNumber, {"controller.Health=0"}},
    {"Sim_SoftwareIdentity",
     "VersionString",
     kText,
     {"controller.VersionString=n/a (Package); n/a (Fw)",
      "disk.Caption=Drive 4 in enclosure 252 on controller c0 Fw: n/a - UNCONFIGURED BAD"}},
    // Of unknown classification: all are taken for the bundle, the last one stays.
    {"Sim_SoftwareIdentity", "Classifications", kArray, {"controller.VersionString=2.2 (Package); n/a (Fw)"}},

    {"Sim_StoragePool",
     "InstanceID",
     kText,
     {"-pool", "volume.Caption=RAID6 data Logical Volume v on controller c0 - DEGRADED"}},
    {"Sim_StoragePool",
     "PoolID",
     kText,
     {"-pool", "volume.Caption=RAID6 data Logical Volume v on controller c0 - DEGRADED"}},
    {"Sim_StoragePool",
     "Primordial",
     kFlag,
     {"disk.Caption=Drive 4 in enclosure 252 on controller c0 Fw: N0A4 - FAILED", "pool.Primordial=0"}},
    {"Sim_StoragePool", "TotalManagedSpace", kNumber, {"pool.Total=0"}},
    {"Sim_StoragePool", "RemainingManagedSpace", kNumber, {"pool.Remaining=0"}},
    {"Sim_StoragePool", "OperationalStatus", kArray, {"pool.Status=0"}},
    // As a key it is what disks and volumes name their pool by, and what a pool is known by again.
    {"Sim_StoragePool", "InstanceID", kText, {"-disk", "-volume", "pool.Drives="}, Operation::GetKey},

    {"Sim_Chassis",
     "Tag",
     kText,
     {"-chassis", "disk.Caption=Drive d on controller c0 Fw: N0A4 - UNCONFIGURED BAD",
      "volume.Caption=RAID6 data Logical Volume v on controller c0, Drives(d) - DEGRADED"}},
    {"Sim_Chassis", "OperationalStatus", kArray, {"chassis.Status=0"}},
    {"Sim_Chassis",
     "Tag",
     kText,
     {"disk.Caption=Drive d on controller c0 Fw: N0A4 - UNCONFIGURED BAD", "disk.Chassis=NULL",
      "volume.Caption=RAID6 data Logical Volume v on controller c0, Drives(d) - DEGRADED"},
     Operation::GetKey},

    {"Sim_DiskDrive",
     "DeviceID",
     kText,
     {"-disk", "pool.Drives=", "volume.Caption=RAID6 data Logical Volume v on controller c0, Drives() - DEGRADED"}},
    {"Sim_DiskDrive", "DeviceID", kText, {}, Operation::GetKey}, // never known again: deleted, and built anew
    {"Sim_DiskDrive", "Name", kText, {"disk.Name=NULL"}},
    {"Sim_DiskDrive", "EnabledState", kNumber, {"disk.EnabledState=0"}},
    {"Sim_DiskDrive",
     "OperationalStatus",
     kArray,
     {"disk.Caption=Drive 4 in enclosure 252 on controller c0 Fw: N0A4 - UNDEFINED", "disk.Status=0"}},
    {"Sim_StorageExtent", "NumberOfBlocks", kNumber, {"disk.Blocks=0"}},
    {"Sim_StorageExtent", "ConsumableBlocks", kNumber, {"disk.Consumable=0"}},
    {"Sim_StorageExtent", "Primordial", kFlag, {"disk.Primordial=0"}},
    {"Sim_StorageExtent", "ExtentStatus", kArray, {"disk.ExtentStatus=0"}},
    {"Sim_Slot",
     "Number",
     kNumber,
     {"disk.Caption=Drive 0 in enclosure 252 on controller c0 Fw: N0A4 - UNCONFIGURED BAD", "disk.Slot=0",
      "volume.Caption=RAID6 data Logical Volume v on controller c0, Drives(0e252) - DEGRADED"}},

    {"Sim_StorageVolume", "DeviceID", kText, {"-volume"}},
    {"Sim_StorageVolume", "DeviceID", kText, {}, Operation::GetKey},
    {"Sim_StorageVolume",
     "ElementName",
     kText,
     {"volume.Caption=RAID6 Logical Volume v on controller c0, Drives(4e252) - DEGRADED"}},
    {"Sim_StorageVolume", "NumberOfBlocks", kNumber, {"volume.Blocks=0"}},
    {"Sim_StorageVolume", "ConsumableBlocks", kNumber, {"volume.Consumable=0"}},
    {"Sim_StorageVolume", "DataRedundancy", kNumber, {"volume.DataRedundancy=0"}},
    {"Sim_StorageVolume", "PackageRedundancy", kNumber, {"volume.PackageRedundancy=0"}},
    {"Sim_StorageVolume", "Name", kText, {"volume.Name=NULL"}},
    {"Sim_StorageVolume", "NameFormat", kNumber, {"volume.NameFormat=0"}},
    {"Sim_StorageVolume", "NameNameSpace", kNumber, {"volume.NameNameSpace=0"}},
    {"Sim_StorageVolume", "IsBasedOnUnderlyingRedundancy", kFlag, {"volume.BasedOn=0"}},
    {"Sim_StorageVolume", "DeltaReservation", kNumber, {"volume.Delta=0"}},
    {"Sim_StorageVolume", "Primordial", kFlag, {"volume.Primordial=0"}},
    {"Sim_StorageVolume", "ExtentStatus", kArray, {"volume.ExtentStatus=0"}},
    {"Sim_StorageVolume",
     "OperationalStatus",
     kArray,
     {"volume.Caption=RAID6 data Logical Volume v on controller c0, Drives(4e252) - UNDEFINED", "volume.Status=0"}},
    {"Sim_StorageSetting",
     "ElementName",
     kText,
     {"volume.Caption=data Logical Volume v on controller c0, Drives(4e252) - DEGRADED"}},

    {"Sim_SASSATAPort", "DeviceID", kText, {"-port"}},
    {"Sim_SASSATAPort", "DeviceID", kText, {}, Operation::GetKey},
    {"Sim_SASSATAPort", "ElementName", kText, {"port.Caption=p0 on Controller c0"}},
    {"Sim_SASSATAPort", "PortType", kNumber, {"port.Type=0"}},
    {"Sim_SASSATAPort", "UsageRestriction", kNumber, {"port.Usage=0"}},
    {"Sim_SASSATAPort", "OperationalStatus", kArray, {"port.Status=0"}},

    {"Sim_Battery", "DeviceID", kText, {"-battery"}},
    {"Sim_Battery", "DeviceID", kText, {}, Operation::GetKey},
    {"Sim_Battery", "BatteryStatus", kNumber, {"battery.BatteryStatus=0"}},
    {"Sim_Battery", "OperationalStatus", kArray, {"battery.Status=0"}},
};

std::string NameOf(const Reading &reading) {
    return std::string(reading.operation == Operation::GetKey ? "key " : "") + reading.className + "." + reading.name;
}

#ifdef QUARNEL_SANITIZED
constexpr std::size_t kStride = 6; // answers of each reading that are left out, others for the next reading
#else
constexpr std::size_t kStride = 1;
#endif

} // namespace

TEST(Readings, ThatAreMissingNullOrOfAnotherTypeCountAsAbsent) {
    const LogMask quiet(LOG_UPTO(LOG_ERR));
    LinkedBench bench(Whole());
    const Answers answers(bench);
    const std::vector<Absent> absents = AllAbsent(answers);
    Live(bench);
    const Facts whole = Model(bench);
    ASSERT_TRUE(WorkersIdle());
    const std::uint64_t lent = bench.Broker().Live().lent;
    std::size_t tried = 0, row = 0;
    for (const Reading &reading : kReadings) {
        ++row;
        for (const Absent &absent : absents) {
            if ((absent.types & reading.type) == 0 || ++row % kStride != 0) continue;
            SCOPED_TRACE(NameOf(reading) + " is " + absent.name);
            const auto rule =
                bench.Inject(Answering(reading.operation, reading.className, reading.name, absent.answer, absent.rc));
            Live(bench);
            EXPECT_EQ(Changes(whole, Model(bench)), reading.changes);
            EXPECT_GT(bench.Broker().Faults().Hit(rule), 0u);
            bench.Broker().Faults().Remove(rule);
            ASSERT_TRUE(WorkersIdle());
            answers.ExpectOnlyRecordsAlive(lent);
            LogCapture::Clear();
            ++tried;
        }
    }
    std::printf("tried %zu answers to %zu readings\n", tried, std::size(kReadings));
}

TEST(Readings, AreAllInTheTableAbove) {
    LinkedBench bench(Whole());
    std::mutex mutex;
    std::set<std::string> classes, tried, asked;
    for (const Reading &reading : kReadings) {
        classes.insert(reading.className);
        tried.insert(NameOf(reading));
    }
    for (const Operation operation : {Operation::GetProperty, Operation::GetKey}) {
        for (const std::string &className : classes) {
            FaultRule rule = Rule(operation).From(className);
            rule.rewrite = [&, operation, className](const std::string &name, CMPIData &, CMPIStatus &) {
                const std::lock_guard lock(mutex);
                asked.insert((operation == Operation::GetKey ? "key " : "") + className + "." + name);
            };
            bench.Inject(rule);
        }
    }
    const auto others = bench.Inject(Rule({Operation::GetProperty, Operation::GetKey})); // of any other class
    Live(bench);
    EXPECT_EQ(bench.Broker().Faults().Hit(others), 0u);
    EXPECT_EQ(asked, tried);
}

TEST(Readings, OfArraysTakeIntegersOfAnyWidthOrSign) {
    LinkedBench bench(Whole());
    const Answers answers(bench);
    Live(bench);
    const Facts whole = Model(bench);
    const CMPIType types[] = {CMPI_uint8, CMPI_uint16, CMPI_uint32, CMPI_uint64,
                              CMPI_sint8, CMPI_sint16, CMPI_sint32, CMPI_sint64};
    for (const CMPIType type : types) {
        const auto rule = bench.Inject(
            Answering(Operation::GetProperty, "Sim_SASSATAPort", "OperationalStatus", answers.Array(type, 12)));
        Live(bench);
        EXPECT_THAT(Changes(whole, Model(bench)), ElementsAre("port.Status=12")) << type;
        bench.Broker().Faults().Remove(rule);
    }
}

TEST(Readings, OfAnotherWidthOrSignAreTakenWhenTheyFit) {
    const struct {
        const char *name;
        CMPIData answer;
        const char *expected; // PortType
    } cases[] = {
        {"wider", Answers::Plain(CMPI_uint64, 94), "94"},
        {"narrower", Answers::Plain(CMPI_uint8, 94), "94"},
        {"signed", Answers::Plain(CMPI_sint32, 94), "94"},
        {"largest", Answers::Plain(CMPI_uint32, 65535), "65535"},
        {"too large", Answers::Plain(CMPI_uint32, 65536), "0"},
        {"negative", Answers::Plain(CMPI_sint16, -1), "0"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.name);
        LinkedBench bench(Hardware().WithController("c0").WithPort("p"));
        bench.Inject(Answering(Operation::GetProperty, "Sim_SASSATAPort", "PortType", test.answer));
        bench.Start();
        EXPECT_EQ(bench.Column(kPort, "PortType"), std::vector<std::string>{test.expected});
    }
}
