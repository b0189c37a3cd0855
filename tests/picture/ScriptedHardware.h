// What an observer reads, as a test says.
#pragma once

#include "cim/picture/Observer.h"
#include "tests/host/Samples.h"

#include <mutex>
#include <string>

namespace cim::picture {

class ScriptedHardware {
public:
    ScriptedHardware() = default; // nothing
    ScriptedHardware(const std::string &state, std::uint64_t status, std::uint64_t health) {
        Disk(state, status, health);
    }

    Observer::Read Reader() {
        return [this] {
            const std::lock_guard lock(mutex);
            ++looks;
            looked.notify_all();
            return answer;
        };
    }

    // One disk in slot 2 of enclosure 252, in that state and with that firmware.
    void Disk(const std::string &state, std::uint64_t status, std::uint64_t health, const std::string &firmware = "1") {
        const std::lock_guard lock(mutex);
        answer = {};
        answer.value[kDisk] = {SampleDisk(
            "c0_2", "Drive 2 in enclosure 252 on controller c0 Fw: " + firmware + " - " + state, status, health)};
    }
    void Nothing() {
        const std::lock_guard lock(mutex);
        answer = {};
    }
    void Fails(const std::string &reason) {
        const std::lock_guard lock(mutex);
        answer.status = {CMPI_RC_ERR_FAILED, reason};
    }

    int Looks() {
        const std::lock_guard lock(mutex);
        return looks;
    }
    bool WaitForLooks(int count) {
        std::unique_lock lock(mutex);
        return looked.wait_for(lock, std::chrono::seconds(20), [&] { return looks >= count; });
    }

private:
    std::mutex mutex;
    std::condition_variable looked;
    Answer<Instances> answer; // guarded by mutex, as what follows
    int looks = 0;
};

constexpr Pace kLookEachTime{std::chrono::milliseconds(0), std::chrono::hours(1)};

} // namespace cim::picture
