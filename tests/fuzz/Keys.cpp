// Keys of the provider's object paths: the input is the identifying key of a GetInstance for each served class.
#include "tests/fuzz/Fuzz.h"
#include "tests/provider/Linked.h"

#include <cstdlib>
#include <filesystem>

namespace {

support::LinkedBench &Bench() {
    static support::LinkedBench *const bench = [] {
        testing::GTEST_FLAG(break_on_failure) = true;
        auto *made = new support::LinkedBench(support::OneOfEach()); // for good: see Fuzz.h
        made->Start();
        // The description is not read again: no refresh is due while the clock stands still.
        std::filesystem::remove_all(std::filesystem::path(std::getenv("SIM_HHRC_HARDWARE")).parent_path());
        return made;
    }();
    return *bench;
}

} // namespace

void fuzz::Read(std::string_view input) {
    const std::string key(input.substr(0, input.find('\0')));
    support::LinkedBench &bench = Bench();
    for (const char *className : support::kServedClasses) {
        const auto answer = bench.Get(className, key);
        if (answer.status.rc == CMPI_RC_ERR_NOT_FOUND) continue;
        Require(answer.Ok(), "an instance, or none");
        const std::string found = support::Shown(answer.value.path->Key(support::IdentifyingKey(className)));
        Require(found == key, "the instance of \"" + key + "\" is not that of \"" + found + "\"");
    }
    support::LogCapture::Clear();
    Require(bench.Broker().Live().lent == 0, "a request leaves nothing behind");
}
