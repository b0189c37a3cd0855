// Every up-call of the story, in turn, is one that the CIM server never answers: the provider can be ended and started
// anew all the same, and in a life that goes on only the one kind of device is missing its refreshes.
#include "tests/faults/Story.h"

#include "cim/quarnel/QuarnelProviderIfc/Ifc.h"

#include <thread>

namespace support {
namespace {

class LostSweep : public testing::Test {
protected:
    // As the broker does, with its lock held where it holds one; directly while the factory has not returned.
    CMPIrc CleanUp(bool terminating) {
        if (story.IsStarted()) return story.bench.Broker().CallCleanUp(kProvider, terminating);
        const Invocation call(story.bench);
        return QuarnelProviderCleanup(nullptr, call.Context(), terminating ? 1 : 0).rc;
    }

    // Once the lost one has been answered: its thread has ended, and what it was left with has gone with it.
    void ExpectNoneLost() {
        const cim::Broker &broker = story.bench.Broker();
        EXPECT_TRUE(WorkersIdle()); // its job goes on: of the able ones, any may leave
        EXPECT_TRUE(Eventually([&] { return broker.Live().attachedThreads == kWorkers; }));
        EXPECT_TRUE(Eventually([&] { return broker.Live().clones == PathsOwned(); }));
        EXPECT_EQ(broker.Live().contexts, kWorkers);
    }

    Story story{SmallServer()};
    Trouble lost = Upcalls(cim::FaultRule::Effect::Lost);
    LogMask quiet{LOG_UPTO(LOG_INFO)};
};

TEST_F(LostSweep, EachIsLeftBehindByACleanUpAndTheNextLifeIsWhole) {
    Sweep(story, "lost up-calls", lost, [this] {
        // Clean-up that need not succeed declines at once: the test would not end if it waited.
        CleanupLimit = 3'600'000;
        EXPECT_EQ(CleanUp(false), CMPI_RC_DO_NOT_UNLOAD);
        EXPECT_EQ(ThisLife().TerminateThread, 0u);

        // Of two that must succeed one does, within its limit, and the other one answers meanwhile.
        CleanupLimit = 20;
        CMPIrc answers[2] = {};
        std::thread other([&] { answers[1] = CleanUp(true); });
        answers[0] = CleanUp(true);
        other.join();
        CleanupLimit = 3000;
        EXPECT_TRUE(answers[0] == CMPI_RC_OK || answers[1] == CMPI_RC_OK);
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
        story.AnswerLost();
        ExpectNoneLost();
    });
}

TEST_F(LostSweep, EachCostsTheRefreshesOfOneKindOfDeviceOnly) {
    Sweep(story, "lost up-calls", lost, [this] {
        if (!story.IsStarted()) { // there is nothing to serve before the controllers are known
            story.AnswerLost();
            story.ChangeHardware();
            return;
        }
        // The others' up-calls are through, or the test's minute would be theirs as well.
        EXPECT_TRUE(story.bench.Broker().WaitForBackground(std::chrono::milliseconds(20), std::chrono::seconds(20)));
        TestClock::Advance(60);
        story.ReadEverything();
        const std::string before = "QuarnelThread: controller ", after = ": an up-call has ";
        const auto lines = LogCapture::Texts(before + "*" + after + "not returned for * seconds\n", LOG_ERR);
        ASSERT_EQ(lines.size(), 1u);
        const std::string kind = lines[0].substr(before.size(), lines[0].find(after) - before.size());
        story.ExpectRefreshesToFollow(kind);
        story.AnswerLost();
        ExpectNoneLost();
        EXPECT_TRUE(LoggedTimes(1, LOG_INFO, before + kind + after + "returned after * seconds\n"));
        story.ExpectRefreshesToFollow();
    });
}

} // namespace
} // namespace support
