// Every allocation of the provider's own fails once, and every thread that it wants to start.
//
// The linker hands the C library's allocating functions and pthread_create to the wrappers below; only calls made by
// what is linked into this program pass through them, and of those only the provider uses these functions.
#include "tests/faults/Sweep.h"

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace {

// What fails: the nth call from now on, counted over all threads.
class Trap {
public:
    void Set(std::uint64_t point) {
        calls = 0;
        failing = point;
    }
    void Unset() { failing = UINT64_MAX; }
    std::uint64_t Calls() const { return calls; }
    bool Springs() { return calls.fetch_add(1) == failing; }

private:
    std::atomic<std::uint64_t> calls{0};
    std::atomic<std::uint64_t> failing{UINT64_MAX};
};

Trap allocations;
Trap threads;

} // namespace

extern "C" {
void *__real_calloc(size_t count, size_t size);
char *__real_strdup(const char *text);
char *__real_strndup(const char *text, size_t most);
int __real_pthread_create(pthread_t *thread, const pthread_attr_t *attr, void *(*start)(void *), void *argument);

void *__wrap_calloc(size_t count, size_t size) { return allocations.Springs() ? nullptr : __real_calloc(count, size); }
char *__wrap_strdup(const char *text) { return allocations.Springs() ? nullptr : __real_strdup(text); }
char *__wrap_strndup(const char *text, size_t most) {
    return allocations.Springs() ? nullptr : __real_strndup(text, most);
}
int __wrap_pthread_create(pthread_t *thread, const pthread_attr_t *attr, void *(*start)(void *), void *argument) {
    return threads.Springs() ? EAGAIN : __real_pthread_create(thread, attr, start, argument);
}
}

namespace support {
namespace {

void SweepTrap(Story &story, const char *what, Trap &trap, int logged = LOG_UPTO(LOG_INFO)) {
    const LogMask quiet(logged);
    trap.Set(UINT64_MAX - 1);
    story.Tell();
    const std::uint64_t points = trap.Calls();
    trap.Unset();
    story.ExpectNextLifeToBeWhole();
    Sweep(
        story, what, points, [&](std::uint64_t point) { trap.Set(point); },
        [&] {
            trap.Unset();
            return true;
        });
}

// With a list that is long enough to be looked up through an index.
Hardware LongServer() {
    Hardware server = SmallServer();
    for (int i = 1; i <= 10; ++i) server.WithDisk("d" + std::to_string(i), {{"pool", "dg1"}});
    return server;
}

TEST(AllocationSweep, EachFailsOnceAndTheNextRefreshesRecover) {
    Story story(LongServer());
    SweepTrap(story, "allocations", allocations);
}

TEST(AllocationSweep, WithoutMemoryForItsIndexAListIsWalked) {
    LinkedBench bench(LongServer());
    bench.Start();
    const RaidController_t *ctrl = TheController(1);
    free(ctrl->DiskIndex.Slots);
    ctrl->DiskIndex = {};
    allocations.Set(0);
    EXPECT_NE(FindDiskByDeviceID(ctrl, "d10"), nullptr);
    EXPECT_EQ(ctrl->DiskIndex.Slots, nullptr);
    allocations.Unset();
    EXPECT_NE(FindDiskByDeviceID(ctrl, "d10"), nullptr);
    EXPECT_NE(ctrl->DiskIndex.Slots, nullptr);
}

TEST(AllocationSweep, ATextThatCannotBeCopiedIsWarnedOf) {
    LogCapture::Clear();
    allocations.Set(0);
    EXPECT_EQ(StringClone("c0"), nullptr);
    allocations.Unset();
    EXPECT_TRUE(LoggedTimes(1, LOG_WARNING, "strdup() failed to duplicate string c0\n"));
}

TEST(AllocationSweep, ADiscoveryThatEndsWithoutMemoryListsNoController) {
    const LogMask quiet(LOG_UPTO(LOG_INFO));
    LinkedBench bench(SmallServer());
    int ended = 0; // at the first controller, and at the second
    for (std::uint64_t point = 0; ended < 2 && point < 1'000; ++point) {
        LogCapture::Clear();
        allocations.Set(point);
        bench.Load();
        allocations.Unset();
        if (LogCapture::Count(LOG_ERR, "BuildControllerInfo, failed to allocate memory for RaidController_t\n") != 0) {
            ended += 1;
            EXPECT_TRUE(bench.Identifiers(kController).empty());
        }
        ASSERT_TRUE(WorkersIdle());
        TestClock::Advance(600);
        ASSERT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    }
    EXPECT_EQ(ended, 2);
}

TEST(AllocationSweep, EachFailsOnceWithNobodyListening) {
    Story story(SmallServer());
    SweepTrap(story, "allocations, unlogged", allocations, kSilent);
}

TEST(ThreadSweep, WithTwoOfThreeWorkersTheModelIsBuilt) {
    Story story(SmallServer());
    SweepTrap(story, "threads", threads);
    SweepTrap(story, "threads, unlogged", threads, kSilent);
}

} // namespace
} // namespace support
