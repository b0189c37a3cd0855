// The library as it is installed: what it exports and needs, and its life in a broker that loads and unloads it.
#include "tests/support/Bench.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rule.h"
#include "tests/support/TestClock.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>

using namespace support;

#ifdef QUARNEL_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

namespace {

const std::string kLibrary = "libQuarnelProvider.so";

std::vector<std::string> LinesOf(const std::string &command) {
    std::vector<std::string> lines;
    FILE *output = popen(command.c_str(), "r");
    std::array<char, 4096> line{};
    while (fgets(line.data(), static_cast<int>(line.size()), output) != nullptr) {
        lines.emplace_back(line.data());
        lines.back().pop_back();
    }
    EXPECT_EQ(pclose(output), 0) << command;
    return lines;
}

bool IsMapped() {
    std::stringstream maps;
    maps << std::ifstream("/proc/self/maps").rdbuf();
    return maps.str().find(kLibrary) != std::string::npos;
}

} // namespace

TEST(Library, ExportsTheFactoryAndNothingElse) {
    if (kSanitized) GTEST_SKIP() << "the sanitizer exports symbols of its own";
    EXPECT_THAT(
        LinesOf("nm -D --defined-only --format=posix " + BuildFolder() + "/lib/" + kLibrary + " | cut -d' ' -f1,2"),
        testing::ElementsAre("QuarnelProvider_Create_InstanceMI T"));
}

TEST(Library, NeedsTheLanguagesLibrariesOnlyAndIsBoundAndSealedAtLoad) {
    if (kSanitized) GTEST_SKIP() << "the sanitizer needs libraries of its own";
    const std::string readelf = "LC_ALL=C readelf -W ", library = " " + BuildFolder() + "/lib/" + kLibrary;
    for (const std::string &line : LinesOf(readelf + "-d" + library + " | grep NEEDED"))
        EXPECT_THAT(line, testing::ContainsRegex("\\[(libstdc\\+\\+|libgcc_s|libc|libm|ld-linux[^.]*)\\.so"));
    EXPECT_EQ(LinesOf(readelf + "-d" + library + " | grep 'Flags:.*NOW'").size(), 1u);
    EXPECT_EQ(LinesOf(readelf + "-l" + library + " | grep GNU_RELRO").size(), 1u);
}

TEST(Library, IsLoadedServesAndIsGoneAfterItsUnload) {
    TestClock::Freeze(1'700'000'000);
    Bench bench(OneOfEach());
    for (int life = 0; life < 2; ++life) {
        LogCapture::Clear();
        EXPECT_FALSE(IsMapped());
        EXPECT_EQ(bench.Identifiers(kController), std::vector<std::string>{"zbrControllerc0"});
        EXPECT_TRUE(IsMapped());
        ASSERT_TRUE(LogCapture::WaitFor("DoBuildDeviceInfoAsync done."));
        for (const char *className : kServedClasses) EXPECT_EQ(bench.Identifiers(className).size(), 1u) << className;
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_DO_NOT_UNLOAD);
        TestClock::Advance(300);
        EXPECT_EQ(bench.Broker().AskToUnload(kProvider), CMPI_RC_OK);
        EXPECT_EQ(bench.Broker().Live().clones, 0u);
    }
    EXPECT_FALSE(IsMapped());
}

// Last in this program: what is kept mapped stays so.
TEST(LibraryAtItsEnd, LeavesAndStaysMappedForAnUpCallThatReturnsLater) {
    TestClock::Freeze(1'700'000'000);
    Bench bench(OneOfEach());
    bench.Inject(Rule(cim::Operation::Associators).Along("CIM_MediaPresent").Does(cim::FaultRule::Effect::Lost));
    bench.Load();
    ASSERT_TRUE(bench.Broker().Faults().AwaitLost(1, std::chrono::seconds(20)));
    TestClock::BringDeadlinesForward(std::chrono::milliseconds(2'900)); // of the three seconds of a clean-up
    bench.Broker().Shutdown();
    EXPECT_TRUE(IsMapped());
    EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().attachedThreads == 1; })); // the others have left
    bench.Broker().Faults().AnswerLost();
    EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().attachedThreads == 0; }));
    EXPECT_TRUE(Eventually([&] { return bench.Broker().Live().clones == 0; }));
}
