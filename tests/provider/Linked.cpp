#include "tests/provider/Linked.h"

#include <cstdlib>

namespace support {
namespace {

BenchOptions WithProvider(BenchOptions options) {
    if (options.provider.createInstanceMI == nullptr)
        options.provider.createInstanceMI = QuarnelProvider_Create_InstanceMI;
    return options;
}

bool AllDone() {
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    return IsFifoEmpty(&ThisLife().__FIFO) == 1 && ThisLife().ActiveThreads == 0;
}

std::size_t PathsOwned(const RaidController_t &ctrl) {
    std::size_t paths = (ctrl.ControllerOp != nullptr) + (ctrl.PortControllerOp != nullptr);
    for (const List_t *list :
         {ctrl.VolumeList, ctrl.DiskList, ctrl.PoolList, ctrl.PortList, ctrl.BatteryList, ctrl.ChassisList})
        for (void *record : Each<void>(list)) // a record's path is its first field
            paths += *static_cast<CMPIObjectPath **>(record) != nullptr;
    for (const DiskDrive_t *disk : Each<DiskDrive_t>(ctrl.DiskList)) paths += disk->ExtentOp != nullptr;
    return paths;
}

} // namespace

LinkedBench::LinkedBench(Hardware description, BenchOptions options)
    : Bench(std::move(description), WithProvider(std::move(options))) {
    TestClock::Freeze(kStart);
}

void LinkedBench::Start() {
    Load();
    ASSERT_TRUE(WorkersIdle());
}

void LinkedBench::StartInOrder() {
    // The first two are the start-up's own and the first worker's.
    const auto fault = Inject(Rule(cim::Operation::PrepareAttachThread).After(2).Times(2).Fails());
    Start();
    Broker().Faults().Remove(fault);
    EXPECT_TRUE(LoggedTimes(2, LOG_ERR, "InitQuarnelThreads: thread * could not be started\n"));
}

void LinkedBench::StartAndWait() {
    Start();
    TestClock::Advance(StateUpdateInterval);
}

void LinkedBench::Refresh(const std::string &className) {
    Enumerate(className);
    ASSERT_TRUE(WorkersIdle());
}

std::vector<std::string> LinkedBench::RefreshedColumn(const std::string &className, const std::string &property) {
    TestClock::Advance(StateUpdateInterval);
    Refresh(className);
    return Column(className, property);
}

void LinkedBench::LetEveryWorkerWork() {
    const auto workers = static_cast<int>(Broker().Live().contexts); // also of one that is only now starting
    Gate gate;                                                       // held at it, no worker takes a second job
    for (int i = 0; i < workers; ++i) {
        auto *job = static_cast<Thread_Args_t *>(std::calloc(1, sizeof(Thread_Args_t)));
        job->Func = [](CMPIContext *, void *args) {
            auto *at = reinterpret_cast<Gate *>(static_cast<Thread_Args_t *>(args)->Arg0);
            std::free(args);
            at->Pass();
        };
        job->Arg0 = reinterpret_cast<uintptr_t>(&gate);
        ASSERT_EQ(QueueJob(job), RESULT_OK);
    }
    ASSERT_TRUE(gate.WaitFor(workers));
    gate.Open();
    ASSERT_TRUE(WorkersIdle());
}

void LinkedBench::ExpectOnlyRecordsAlive() {
    ASSERT_TRUE(WorkersIdle());
    EXPECT_EQ(Broker().Live().clones, PathsOwned());
    EXPECT_EQ(Broker().Live().lent, 0u);
}

bool RefreshesMayBegin() {
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    return ThisLife().ThreadActivityDone == 1;
}

bool WorkersIdle(std::chrono::milliseconds limit) { return Eventually(AllDone, limit); }

std::size_t PathsOwned() {
    std::size_t paths = 0;
    for (const RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
        paths += PathsOwned(*ctrl);
    return paths;
}

RaidController_t *TheController(std::size_t index) {
    for (RaidController_t *ctrl : Each<RaidController_t>(&ThisLife().RaidControllerList))
        if (index-- == 0) return ctrl;
    ADD_FAILURE() << "no such controller";
    return nullptr;
}

std::string Members(const std::string &poolID, std::size_t controller) {
    std::string members = "no pool";
    for (const StoragePool_t *pool : Each<StoragePool_t>(TheController(controller)->PoolList)) {
        if (poolID != pool->PoolID) continue;
        members.clear();
        for (const char *member : Each<char>(pool->Drives)) members += std::string(" ") + member;
    }
    return members;
}

Invocation::Invocation(Bench &owner) : bench(owner), context(owner.Broker().BeginInvocation(kNameSpace)) {}
Invocation::~Invocation() { bench.Broker().EndInvocation(context); }

CMPIObjectPath *Invocation::Path(const std::string &className, const std::vector<cim::NamedValue> &textKeys) const {
    const CMPIBroker *broker = bench.Broker().Handle();
    CMPIObjectPath *path = broker->eft->newObjectPath(broker, kNameSpace, className.c_str(), nullptr);
    for (const cim::NamedValue &key : textKeys)
        path->ft->addKey(path, key.name.Text().c_str(),
                         reinterpret_cast<const CMPIValue *>(key.value.As<std::string>()->c_str()), CMPI_chars);
    return path;
}

} // namespace support
