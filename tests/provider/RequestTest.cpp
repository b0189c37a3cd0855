// What clients ask for: names, instances, one instance; identifiers and the keys that carry them.
#include "tests/provider/Linked.h"

#include <cctype>
#include <future>
#include <gmock/gmock.h>

using namespace support;
using cim::FaultRule;
using cim::Operation;
using testing::ElementsAre;

namespace {

// A controller and a device of each kind, with the given DeviceIDs.
Hardware Named(const std::string &controller, const std::string &device) {
    return Hardware()
        .WithController(controller)
        .WithPool("free", {{"primordial", true}})
        .WithDisk(device)
        .WithVolume(device, {{"pool", "free"}})
        .WithPort(device)
        .WithBattery(device);
}

const struct {
    const char *className, *prefix; // of the identifying key
    bool ofDevices;
} kClasses[] = {
    {kController, "zbrController", false},
    {kSoftware, "zembra:ControllerSoftware", false},
    {kVolume, "zbrStorageVolume", true},
    {kExtent, "zbrStorageExt", true},
    {kPort, "zbrPort", true},
    {kBattery, "zbrControllerBattery", true},
};

// Where a request that is made directly sends its answer.
struct ResultSink {
    static ResultSink &Of(const CMPIResult *result) { return *static_cast<ResultSink *>(result->hdl); }
    static CMPIStatus Path(const CMPIResult *result, const CMPIObjectPath *path) {
        ++Of(result).returned;
        Of(result).nameSpaces.emplace_back(TextOf(path->ft->getNameSpace(path, nullptr)));
        return kOk;
    }
    static CMPIStatus Instance(const CMPIResult *result, const CMPIInstance *) {
        ++Of(result).returned;
        return kOk;
    }
    static CMPIStatus Done(const CMPIResult *result) {
        ++Of(result).done;
        return kOk;
    }

    int returned = 0, done = 0;
    std::vector<std::string> nameSpaces; // of paths
    CMPIResultFT table = {100, nullptr, nullptr, nullptr, Instance, Path, Done};
    CMPIResult result = {this, &table};
};

} // namespace

TEST(Names, CarryTheServedClassAndMadeUpKeysAndLeadToTheirInstances) {
    BenchOptions options;
    options.unkind.keysOnlyInPaths = true; // instances have them as properties all the same
    LinkedBench bench(Named("c1", "A_0"), options);
    bench.Start();
    for (const auto &served : kClasses) {
        SCOPED_TRACE(served.className);
        std::string asked = served.className; // in any case
        for (char &letter : asked) letter = static_cast<char>(std::toupper(letter));
        const auto names = bench.Broker().EnumerateInstanceNames(kNameSpace, asked);
        ASSERT_EQ(names.value.size(), 1u);
        const cim::ObjectPath &path = names.value[0];
        EXPECT_EQ(path.nameSpace, kNameSpace);
        EXPECT_EQ(path.className, served.className);
        EXPECT_EQ(Shown(path.Key(IdentifyingKey(served.className))),
                  served.prefix + std::string(served.ofDevices ? "c1_A_0" : "c1"));
        if (served.ofDevices) {
            ASSERT_EQ(path.keys.size(), 4u);
            EXPECT_EQ(Shown(path.Key("SystemCreationClassName")), GetSystemClassName());
            EXPECT_EQ(Shown(path.Key("SystemName")), GetSystemName());
            EXPECT_EQ(Shown(path.Key("CreationClassName")), served.className);
        }
        const auto instances = bench.Enumerate(served.className);
        ASSERT_EQ(instances.size(), 1u);
        EXPECT_EQ(instances[0].path, path);
        for (const cim::NamedValue &key : path.keys)
            EXPECT_EQ(Shown(instances[0], key.name.Text()), Shown(&key.value)) << key.name.Text();

        cim::ObjectPath sought = path; // by the identifying key alone
        sought.className = asked;
        for (cim::NamedValue &key : sought.keys)
            if (key.name != IdentifyingKey(served.className)) key.value = Text("elsewhere");
        const auto got = bench.Broker().GetInstance(sought);
        ASSERT_TRUE(got.Ok());
        EXPECT_EQ(got.value.path, path);
        EXPECT_EQ(Shown(got.value, "Caption"), Shown(instances[0], "Caption"));
    }
}

TEST(GetInstance, AnswersNotFoundForEveryMalformedOrUnknownKeyAndSaysWhy) {
    const std::string silent = "nothing but the path";
    const struct {
        const char *className, *key;
        std::string error; // empty: well formed, of what is not there
    } cases[] = {
        {kController, "zbrController", "No valid info in key key zbrController\n"},
        {kController, "ZBRCONTROLLERc1", silent},
        {kController, "c1", silent},
        {kController, "zbrControllerBatteryc1_a2", ""}, // of a controller that is not there
        {kController, "zbrControllerC1", ""},
        {kSoftware, "zembra:ControllerSoftware", "No valid info in key key zembra:ControllerSoftware\n"},
        {kSoftware, "zembra:controllersoftwarec1", silent},
        {kSoftware, "zembra:ControllerSoftwarec1_a2", ""},
        {kVolume, "zbrStorageVolume", "No valid info in key key zbrStorageVolume\n"},
        {kVolume, "zbrStorageVolumec1", "Device ID not found in key zbrStorageVolumec1\n"},
        {kVolume, "zbrStorageVolume_a2", "Controller ID not found in key zbrStorageVolume_a2\n"},
        {kVolume, "zbrStorageVolumec1_", "Device ID empty in key zbrStorageVolumec1_\n"},
        {kVolume, "zbrStorageVolume_", "Controller ID not found in key zbrStorageVolume_\n"},
        {kExtent, "zbrStorageExt_5", "Controller ID not found in key zbrStorageExt_5\n"},
        {kExtent, "zbrStorageExtc1_a20", ""},
        {kExtent, "zbrStorageExtc1__a2", ""},
        {kExtent, "zbrStorageExtc1_A2", ""},
        {kPort, "ZBRPORTc1_a2", silent},
        {kPort, "zbrPortc2_a2", ""},
        {kBattery, "zbrControllerBatteryc1a2", "Device ID not found in key zbrControllerBatteryc1a2\n"},
        {kBattery, "", silent},
    };
    LinkedBench bench(Named("c1", "a2"));
    bench.Start();
    for (const auto &test : cases) {
        SCOPED_TRACE(std::string(test.className) + " " + test.key);
        LogCapture::Clear();
        EXPECT_EQ(bench.Get(test.className, test.key).status.rc, CMPI_RC_ERR_NOT_FOUND);
        std::vector<std::string> errors;
        if (!test.error.empty() && test.error != silent) errors.push_back(test.error);
        if (!test.error.empty())
            errors.push_back("Object path root/cimv2:" + std::string(test.className) + "." +
                             IdentifyingKey(test.className) + "=\"" + test.key + "\" invalid\n");
        EXPECT_EQ(LogCapture::Texts("*", LOG_ERR), errors);
    }
}

TEST(GetInstance, WithoutItsKeySaysWhichOneIsMissing) {
    LinkedBench bench(Named("c1", "2"));
    bench.Start();
    for (const char *className : kServedClasses) {
        LogCapture::Clear();
        const cim::ObjectPath path{{}, kNameSpace, className, {{"SystemName", Text("x")}}};
        EXPECT_EQ(bench.Broker().GetInstance(path).status.rc, CMPI_RC_ERR_NOT_FOUND);
        EXPECT_TRUE(Logged(LOG_ERR, IdentifyingKey(className) + " key not found in object path *" + className + "*\n"));
        EXPECT_TRUE(Logged(LOG_ERR, "Object path * invalid\n"));
    }
}

TEST(Identifiers, AreCutAt255BytesAndSplitAtTheFirstUnderscore) {
    const std::string longest(300, 'c');
    const struct {
        std::string controller, device;
        bool byTheirNames, byTheWhole; // found
    } cases[] = {
        {"c1", "A_0", true, true},   {"c1", "_", true, true},
        {"0", "5", true, true},      {"c1", "252:4", true, true},
        {"c_1", "5", false, false},  {longest.substr(0, 100), std::string(200, 'd'), false, true},
        {longest, "d", false, true},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.controller + " " + test.device);
        LinkedBench bench(Named(test.controller, test.device));
        bench.Start();
        for (const auto &served : kClasses) {
            const std::string whole = served.prefix + test.controller + (served.ofDevices ? "_" + test.device : "");
            const std::string cut = whole.substr(0, 255);
            EXPECT_THAT(bench.Identifiers(served.className), ElementsAre(cut));
            EXPECT_EQ(bench.Get(served.className, whole).Ok(), test.byTheWhole || !served.ofDevices) << whole;
            EXPECT_EQ(bench.Get(served.className, cut).Ok(), served.ofDevices ? test.byTheirNames : whole == cut);
        }
    }
}

// Called directly: a broker that knows where classes are served sends not all of these requests.
TEST(Requests, AreAnsweredInTheirOwnNamespaceWithEveryMatchAndFinishedOnlyThen) {
    LinkedBench bench(Hardware().WithController("c1").WithPort("p").WithPort("p", {{"duplicate", true}}));
    bench.Start();
    const Invocation call(bench);
    CMPIInstanceMI *mi = QuarnelProvider_Create_InstanceMI(bench.Broker().Handle(), call.Context(), nullptr);
    const auto port = [&](const char *key) { return call.Path(kPort, {{"DeviceID", Text(key)}}); };
    const struct {
        CMPIObjectPath *path;
        CMPIrc enumerated, got;
        int returned, done; // of all three
        std::size_t errors; // of unserved classes
    } cases[] = {
        {port("zbrPortc1_p"), CMPI_RC_OK, CMPI_RC_OK, 6, 3, 0}, // a server takes what it wants of a get's
        {port("zbrPortc1_q"), CMPI_RC_OK, CMPI_RC_ERR_NOT_FOUND, 4, 2, 0},
        {port("zbrPort"), CMPI_RC_OK, CMPI_RC_ERR_NOT_FOUND, 4, 2, 0},
        {call.Path("CIM_SASSATAPort", {{"DeviceID", Text("zbrPortc1_p")}}), CMPI_RC_OK, CMPI_RC_ERR_INVALID_CLASS, 0, 2,
         3},
        {nullptr, CMPI_RC_ERR_INVALID_PARAMETER, CMPI_RC_ERR_INVALID_PARAMETER, 0, 0, 0},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(&test - cases);
        LogCapture::Clear();
        if (test.path != nullptr) test.path->ft->setNameSpace(test.path, "root/elsewhere");
        ResultSink sink;
        EXPECT_EQ(mi->ft->enumerateInstanceNames(mi, call.Context(), &sink.result, test.path).rc, test.enumerated);
        EXPECT_EQ(mi->ft->enumerateInstances(mi, call.Context(), &sink.result, test.path, nullptr).rc, test.enumerated);
        const CMPIStatus got = mi->ft->getInstance(mi, call.Context(), &sink.result, test.path, nullptr);
        EXPECT_EQ(got.rc, test.got);
        EXPECT_EQ(got.msg, nullptr);
        EXPECT_EQ(sink.returned, test.returned);
        EXPECT_EQ(sink.done, test.done);
        EXPECT_THAT(sink.nameSpaces, testing::Each("root/elsewhere"));
        EXPECT_TRUE(LoggedTimes(test.errors, LOG_ERR, "QuarnelProvider*: unsupported class CIM_SASSATAPort\n"));
    }
}

TEST(PropertyLists, RestrictWhatIsReturnedAndChangeNothingElse) {
    LinkedBench bench(Named("c1", "2"));
    bench.Start();
    const std::vector<std::string> wanted = {"caption", "OperationalStatus", "NoSuchProperty"};
    for (const char *className : {kController, kVolume, kExtent, kPort, kBattery}) {
        const auto all = bench.Enumerate(className);
        const auto some = bench.Broker().EnumerateInstances(kNameSpace, className, &wanted);
        const auto one = bench.Broker().GetInstance(all.at(0).path, &wanted);
        ASSERT_EQ(some.value.size(), 1u) << className;
        ASSERT_TRUE(one.Ok());
        for (const cim::Instance *instance : {&some.value[0], &one.value}) {
            EXPECT_EQ(Shown(*instance, "Caption"), Shown(all[0], "Caption"));
            EXPECT_EQ(Shown(*instance, "OperationalStatus"), "{2}");
            EXPECT_EQ(instance->Property("ElementName"), nullptr);
            EXPECT_EQ(instance->Property("HealthState"), nullptr);
            EXPECT_EQ(instance->path, all[0].path);
        }
    }
}

TEST(GetInstance, BearsKeysOfAnyLengthAndLogsTheirBeginning) {
    BenchOptions options;
    options.unkind.shortPathText = true;
    LinkedBench bench(Named("c1", "2"), options);
    bench.Start();
    for (const std::size_t length : {4'200U, 100'000U}) {
        LogCapture::Clear();
        for (const std::string key : {"zbrStorageVolumec1_", "zbrStorageVolumec1", "zbrStorageVolume_", "other"})
            EXPECT_EQ(bench.Get(kVolume, key + std::string(length, 'x')).status.rc, CMPI_RC_ERR_NOT_FOUND);
        EXPECT_TRUE(
            LoggedTimes(3, LOG_ERR, "Object path root/cimv2:Zembra_QuarnelStorageVolume.DeviceID=*x invalid\n"));
        for (const std::string &line : LogCapture::Texts("*")) EXPECT_LT(line.size(), 2'200U);
    }
}

TEST(Requests, AreLoggedWithTheirPathAndClass) {
    LinkedBench bench(Named("c1", "2"));
    bench.Start();
    LogCapture::Clear();
    bench.Identifiers(kPort);
    bench.Enumerate(kPort);
    bench.Get(kPort, "zbrPortc1_2");
    for (const char *line :
         {": ObjectPath - root/cimv2:Zembra_QuarnelSASSATAPort*\n", ": Zembra_QuarnelSASSATAPort\n", ": exiting\n"})
        EXPECT_TRUE(LoggedTimes(3, LOG_DEBUG, std::string("QuarnelProvider*") + line));
}

TEST(Requests, ForControllersTakeNoLockAndThoseForDevicesOnlyTheirControllersOwn) {
    LinkedBench bench(Named("c1", "2"));
    bench.Start();
    RaidController_t *ctrl = TheController();
    const auto answered = [&](const char *className) {
        return std::async(std::launch::async, [&bench, className] { return bench.Enumerate(className).size(); });
    };
    std::future<std::size_t> device;
    {
        const ControllerLock lock(ctrl->CtrlMutex);
        for (const char *className : {kController, kSoftware}) EXPECT_EQ(answered(className).get(), 1u);
        device = answered(kPort);
        EXPECT_EQ(device.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    }
    EXPECT_EQ(device.get(), 1u);
    Mutex_t *kinds[] = {&ctrl->DiskCfgMutex,    &ctrl->VolumeCfgMutex, &ctrl->PortCfgMutex,
                        &ctrl->BatteryCfgMutex, &ctrl->PoolCfgMutex,   &ctrl->ChassisCfgMutex};
    for (Mutex_t *kind : kinds) pthread_mutex_lock(kind); // as passes do
    for (const char *className : kServedClasses) EXPECT_EQ(answered(className).get(), 1u);
    for (Mutex_t *kind : kinds) pthread_mutex_unlock(kind);
}

TEST(Requests, LeaveOutWhatCannotBeMadeAndAnswerTheRest) {
    LinkedBench bench(Named("c1", "2").WithPort("3").WithPort("4"));
    bench.StartInOrder();
    for (const Operation operation : {Operation::NewObjectPath, Operation::NewInstance}) {
        const auto fault = bench.Inject(Rule(operation).From(kPort).After(1).Times(1).Fails());
        EXPECT_THAT(bench.Column(kPort, "Caption"), ElementsAre("2 on Controller c1", "4 on Controller c1"));
        bench.Broker().Faults().Remove(fault);
    }
    EXPECT_EQ(bench.Enumerate(kPort).size(), 3u);
}

TEST(Requests, StillCarryADeviceIdentifierWhenTheHostHasNoName) {
    LinkedBench bench(Named("c1", "2"));
    FaultRule rule = Rule(Operation::GetProperty).From("OMC_UnitaryComputerSystem");
    rule.rewrite = [](const std::string &, CMPIData &answer, CMPIStatus &status) {
        answer = {CMPI_null, CMPI_notFound, {}};
        status.rc = CMPI_RC_ERR_NO_SUCH_PROPERTY;
    };
    bench.Inject(rule);
    bench.Start();
    EXPECT_EQ(GetSystemName(), nullptr);
    EXPECT_THAT(bench.Identifiers(kPort), ElementsAre("zbrPortc1_2"));
    EXPECT_TRUE(bench.Get(kPort, "zbrPortc1_2").Ok());
}
