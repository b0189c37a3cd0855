// Every up-call of the story, in turn, is one that the CIM server never answers: the provider can be ended and started
// anew all the same, and in a life that goes on only the one kind of device is missing its refreshes.
#include "tests/faults/Sweep.h"

#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include <thread>

namespace support {
namespace {

using cim::FaultRule;
using cim::Operation;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Milliseconds that clean-up waits: three seconds, as shipped, when every up-call is visited; else a tenth of a second.
const int kLimit = StrideFor(UINT64_MAX) == 1 ? 3000 : 100;

struct CleanedUp {
    CMPIrc answer;
    milliseconds took;
};

class LostSweep : public testing::Test {
protected:
    LostSweep() : quiet(LOG_UPTO(LOG_INFO)), story(SmallServer()) { CleanupLimit = kLimit; }
    ~LostSweep() override { CleanupLimit = 3000; }

    // Tells the story up to each of its up-calls that is made once the provider has begun to start; `then` finds it
    // lost.
    template <class Then> void ForEachLostUpcall(const char *what, Then then) {
        FaultRule count;
        count.operations = {Operation::EnumerateInstances, Operation::GetInstance, Operation::Associators,
                            Operation::AssociatorNames};
        const auto counter = story.bench.Inject(count);
        story.Tell();
        const std::uint64_t points = story.bench.Broker().Faults().Matched(counter);
        story.bench.Broker().Faults().Clear();
        story.ExpectNextLifeToBeWhole();
        std::uint64_t visited = 0;
        const std::uint64_t stride = StrideFor(points);
        for (std::uint64_t point = 0; point < points; point += stride) {
            SCOPED_TRACE(std::string(what) + ", up-call " + std::to_string(point) + " of " + std::to_string(points));
            LogCapture::Clear();
            FaultRule lost = count;
            lost.skip = point;
            lost.count = 1;
            lost.effect = FaultRule::Effect::Lost;
            story.bench.Inject(lost);
            story.Tell();
            if (story.bench.Broker().Faults().LostNow() == 0) { // workers race: this time it was not made
                story.bench.Broker().Faults().Clear();
                continue;
            }
            visited += then() ? 1 : 0;
            story.bench.Broker().Faults().Clear();
            if (HasFailure()) return; // one point with its trace tells more than a thousand
        }
        std::printf("swept %s: %llu of %llu up-calls lost\n", what, static_cast<unsigned long long>(visited),
                    static_cast<unsigned long long>(points));
        EXPECT_GT(visited, 0u);
    }

    // As the broker does, with its lock held where it holds one; directly while the factory has not returned.
    CleanedUp CleanUp(bool terminating) {
        const auto start = steady_clock::now();
        CMPIrc answer = CMPI_RC_OK;
        if (story.IsStarted()) {
            answer = story.bench.Broker().CallCleanUp(kProvider, terminating);
        } else {
            const Invocation call(story.bench);
            answer = QuarnelProviderCleanup(nullptr, call.Context(), terminating ? 1 : 0).rc;
        }
        return {answer, std::chrono::duration_cast<milliseconds>(steady_clock::now() - start)};
    }

    LogMask quiet;
    Story story;
    milliseconds longest{0}; // of all clean-ups
};

// The worker that is lost: "c0 disks".
std::string WhoIsLost() {
    const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
    for (const Worker_t &worker : ThisLife().QuarnelThreads)
        if (worker.Lost) return std::string(worker.Controller->DeviceID) + " " + worker.Devices;
    return "nobody";
}

TEST_F(LostSweep, EachIsLeftBehindByACleanUpAndTheNextLifeIsWhole) {
    ForEachLostUpcall("clean-ups beside lost up-calls", [this] {
        // Clean-up that need not succeed declines at once, and nothing has changed.
        const CleanedUp declined = CleanUp(false);
        EXPECT_EQ(declined.answer, CMPI_RC_DO_NOT_UNLOAD);
        EXPECT_LT(declined.took.count(), kLimit);
        EXPECT_EQ(ThisLife().TerminateThread, 0u);

        // Of two that must succeed one does, within the limit, and the other one answers meanwhile.
        CleanedUp cleaned[2] = {};
        std::thread other([&] { cleaned[1] = CleanUp(true); });
        cleaned[0] = CleanUp(true);
        other.join();
        EXPECT_TRUE(cleaned[0].answer == CMPI_RC_OK || cleaned[1].answer == CMPI_RC_OK);
        for (const CleanedUp &one : cleaned) longest = std::max(longest, one.took);
        EXPECT_LT(longest.count(), kLimit + 500);
        EXPECT_EQ(CurrentLife, nullptr);
        EXPECT_TRUE(LoggedTimes(
            1, LOG_ERR, "QuarnelProviderCleanup: an up-call has not returned, its thread and memory are left to it\n"));

        // A life begins that shares nothing with the abandoned one.
        story.ChangeHardware();
        {
            const Invocation call(story.bench);
            QuarnelProvider_Create_InstanceMI(story.bench.Broker().Handle(), call.Context(), nullptr);
        }
        EXPECT_TRUE(WorkersIdle());
        if (story.IsStarted()) story.ExpectWhole();

        // The late answer ends the thread, and what it was left with goes with it.
        story.AnswerLost();
        EXPECT_TRUE(Eventually([this] { return story.bench.Broker().Live().attachedThreads == kWorkers; }));
        EXPECT_TRUE(Eventually([this] { return story.bench.Broker().Live().clones == PathsOwned(); }));
        EXPECT_EQ(story.bench.Broker().Live().contexts, kWorkers);
        story.bench.Broker().Faults().Clear();
        story.ExpectNextLifeToBeWhole();
        return true;
    });
    std::printf("the longest clean-up took %d ms of %d\n", static_cast<int>(longest.count()), kLimit);
}

TEST_F(LostSweep, EachCostsTheRefreshesOfOneKindOfDeviceOnly) {
    ForEachLostUpcall("refreshes beside lost up-calls", [this] {
        if (!story.IsStarted()) { // there is nothing to serve before the controllers are known
            story.AnswerLost();
            story.ChangeHardware();
            story.ExpectNextLifeToBeWhole();
            return false;
        }
        // The others' up-calls are through, or the test's minute would be theirs as well.
        EXPECT_TRUE(story.bench.Broker().WaitForBackground(milliseconds(20), std::chrono::seconds(20)));
        TestClock::Advance(60);
        story.ReadEverything();
        const std::string lost = WhoIsLost();
        const std::string line = "controller " + lost.substr(0, 2) + ", " + lost.substr(3) + ": an up-call has ";
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "QuarnelThread: " + line + "not returned for * seconds\n"));
        story.ExpectRefreshesToFollow(lost);

        story.AnswerLost();
        EXPECT_TRUE(WorkersIdle());
        EXPECT_TRUE(LoggedTimes(1, LOG_INFO, "QuarnelThread: " + line + "returned after * seconds\n"));
        EXPECT_TRUE(Eventually([this] { return story.bench.Broker().Live().attachedThreads == kWorkers; }));
        story.bench.Broker().Faults().Clear();
        story.ExpectRefreshesToRecover();
        story.ExpectNextLifeToBeWhole();
        return true;
    });
}

} // namespace
} // namespace support
