// What an observer reads, as a test says.
#pragma once

#include "cim/picture/Observer.h"
#include "tests/support/ServedInstances.h"

namespace cim::picture {

class ScriptedHardware {
public:
    ScriptedHardware() { Disk("ONLINE", 2, 5); }

    Observer::Read Reader() {
        return [this] {
            const std::lock_guard lock(mutex);
            ++looks;
            looked.notify_all();
            return answer;
        };
    }

    // A controller and one disk in slot 2 of enclosure 252, in that state and with that firmware.
    void Disk(const std::string &state, int status, int health, const std::string &firmware = "1") {
        const std::string caption = "Drive 2 in enclosure 252 on controller c0 Fw: " + firmware + " - " + state;
        Json disk = {{"id", "c0_2"}, {"Caption", caption}, {"OperationalStatus", {status}}, {"HealthState", health}};
        Disks(Json::array({disk}));
    }
    void Nothing() { Disks(Json::array()); }
    void Fails(const std::string &reason) { Is({{CMPI_RC_ERR_FAILED, reason}, {}}); }

    int Looks() {
        const std::lock_guard lock(mutex);
        return looks;
    }
    bool WaitForLooks(int count) {
        std::unique_lock lock(mutex);
        return looked.wait_for(lock, std::chrono::seconds(20), [&] { return looks >= count; });
    }

private:
    void Disks(const Json &disks) {
        Json server = {{"disk", disks}};
        server["controller"].push_back({{"id", "c0"}, {"OperationalStatus", {2}}});
        Is({{}, support::InstancesOf(server)});
    }
    void Is(Answer<Instances> now) {
        const std::lock_guard lock(mutex);
        answer = std::move(now);
    }

    std::mutex mutex;
    std::condition_variable looked;
    Answer<Instances> answer; // guarded by mutex, as what follows
    int looks = 0;
};

constexpr Pace kLookEachTime{std::chrono::milliseconds(0), std::chrono::hours(1)};

} // namespace cim::picture
