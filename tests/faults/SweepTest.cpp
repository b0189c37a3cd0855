// Everything that can fail fails once, and what is served thereafter is whole: up-calls, creations of broker objects,
// allocations of the provider's own, and starts of threads.
//
// The linker hands the C library's allocating functions and pthread_create to the wrappers below; only calls made by
// what is linked into this program pass through them, and of those only the provider uses these functions.
#include "tests/faults/Story.h"

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <syslog.h>

namespace {

// What fails: the nth call from now on, counted over all threads.
struct Trap {
    void Set(std::uint64_t point) {
        calls = 0;
        failing = point;
    }
    bool Springs() { return calls.fetch_add(1) == failing; }

    std::atomic<std::uint64_t> calls{0}, failing{UINT64_MAX};
};

Trap allocations, threads;

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

using cim::Operation;
using Effect = cim::FaultRule::Effect;

constexpr int kTerse = LOG_UPTO(LOG_INFO);   // tracing lines make broker objects of their own, thousands of them
constexpr int kSilent = LOG_MASK(LOG_EMERG); // what a line does besides being written must not be missed

Trouble At(Trap &trap) {
    return {[&](Story &, std::uint64_t point) { trap.Set(point); }, [&](Story &) { return trap.calls.load(); }};
}

Trouble Objects(Operation operation) { return Calls(Rule(operation).Does(Effect::NullWithOk)); }

// One of the samples that come with the project.
Hardware Sample(const std::string &name) {
    Hardware sample;
    std::ifstream(BuildFolder() + "/share/quarnel/hardware/" + name) >> sample.document;
    return sample;
}

struct Case {
    const char *name;
    Trouble trouble;
    const char *sample = nullptr; // null: the small server
    int logged = kTerse;
};

const Case kCases[] = {
    {"UpcallFails", Upcalls(Effect::Fail)},
    {"UpcallFailsUnlogged", Upcalls(Effect::Fail), nullptr, kSilent},
    {"UpcallFailsInRack", Upcalls(Effect::Fail), "rack-server.json"},
    {"UpcallFailsInStorageNode", Upcalls(Effect::Fail), "storage-node.json"},
    {"UpcallReturnsNothing", Upcalls(Effect::NullWithOk)},
    {"UpcallReturnsNothingInRack", Upcalls(Effect::NullWithOk), "rack-server.json"},
    {"UpcallIsEmpty", Upcalls(Effect::Empty)},
    {"UpcallIsEmptyInRack", Upcalls(Effect::Empty), "rack-server.json"},
    {"UpcallIsSlow", Upcalls(Effect::None, std::chrono::milliseconds(10))},
    {"NoObjectPath", Objects(Operation::NewObjectPath)},
    {"NoInstance", Objects(Operation::NewInstance)},
    {"NoArray", Objects(Operation::NewArray)},
    {"NoClone", Objects(Operation::Clone)},
    {"NoPathOfAnInstance", Objects(Operation::GetObjectPath)},
    {"NoCharacters", Objects(Operation::GetCharPtr)},
    {"NoContext", Objects(Operation::PrepareAttachThread)},
    {"NoAttachment", Calls(Rule(Operation::AttachThread).Fails(), "")},
    {"NoMemory", At(allocations)},
    {"NoMemoryUnlogged", At(allocations), nullptr, kSilent},
    {"NoMemoryInRack", At(allocations), "rack-server.json"}, // with long lists
    {"NoThread", At(threads)},
    {"NoThreadUnlogged", At(threads), nullptr, kSilent},
};

class FaultSweep : public testing::TestWithParam<Case> {};

TEST_P(FaultSweep, FailsOnceAtEachPointAndTheNextRefreshesRecover) {
    const Case &test = GetParam();
    Story story(test.sample == nullptr ? SmallServer() : Sample(test.sample));
    const LogMask logged(test.logged);
    Sweep(story, test.name, test.trouble, [&] { story.ExpectRefreshesToFollow(); });
}
INSTANTIATE_TEST_SUITE_P(All, FaultSweep, testing::ValuesIn(kCases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(Unlogged, NothingIsRenderedForTheLog) {
    const LogMask silent(kSilent);
    Story story(SmallServer());
    // A path's text begins with its namespace, which of the vendor's paths nothing else asks for.
    const auto rendered = story.bench.Inject(Rule(Operation::GetNameSpace).From("Sim_DiskDrive").After(UINT64_MAX));
    story.Tell();
    EXPECT_EQ(story.bench.Broker().Faults().Matched(rendered), 0u);
    story.ExpectNextLifeToBeWhole();
}

TEST(WithoutMemory, ATextThatCannotBeCopiedIsWarnedOf) {
    LogCapture::Clear();
    allocations.Set(0);
    EXPECT_EQ(StringClone("c0"), nullptr);
    allocations.Set(UINT64_MAX);
    EXPECT_TRUE(LoggedTimes(1, LOG_WARNING, "strdup() failed to duplicate string c0\n"));
}

TEST(WithoutMemory, AKeyThatCannotBeTakenApartIsCalledInvalid) {
    LinkedBench bench(OneOfEach());
    bench.Start();
    for (const std::uint64_t part : {0U, 1U}) { // the controller's ID, the device's
        LogCapture::Clear();
        allocations.Set(part);
        EXPECT_EQ(bench.Get(kPort, "zbrPortc0_p0").status.rc, CMPI_RC_ERR_NOT_FOUND);
        allocations.Set(UINT64_MAX);
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "malloc failure\n"));
        EXPECT_TRUE(LoggedTimes(1, LOG_ERR, "Object path * invalid\n"));
    }
}

TEST(WithoutMemory, ADiscoveryThatEndsListsNoController) {
    const LogMask quiet(kTerse);
    LinkedBench bench(SmallServer());
    int ended = 0; // at the first controller, and at the second
    for (std::uint64_t point = 0; ended < 2 && point < 1'000; ++point) {
        LogCapture::Clear();
        allocations.Set(point);
        bench.Load();
        allocations.Set(UINT64_MAX);
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

TEST(WithoutMemory, AFirstBuildThatCannotBeQueuedIsNotWaitedFor) {
    const LogMask quiet(kTerse);
    LinkedBench bench(OneOfEach());
    bool refused = false;
    for (std::uint64_t point = 0; !refused && point < 1'000; ++point) {
        LogCapture::Clear();
        allocations.Set(point);
        bench.Load();
        allocations.Set(UINT64_MAX);
        refused = LogCapture::Count(LOG_ERR, "BuildDeviceInfoAsync, failed to allocate *") != 0;
        if (refused) {
            const ThreadsLock lock(ThisLife().QuarnelThreadMutex);
            const bool done = ThisLife().FirstBuildDone;
            EXPECT_TRUE(done);
        }
        ASSERT_TRUE(WorkersIdle());
        TestClock::Advance(600);
        ASSERT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
    }
    EXPECT_TRUE(refused);
}

} // namespace
} // namespace support
