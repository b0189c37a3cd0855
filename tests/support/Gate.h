// A place where threads of the code under test wait until the test lets them on.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace support {

// Whoever comes late, after the test has left its gate behind, holds what the gate is made of until through.
class Gate {
public:
    // Where threads come to: a job.
    void Pass() { state->Pass(); }
    // The same for a rule's hook, which may outlive the gate.
    [[nodiscard]] std::function<void()> Passage() const {
        return [state = state] { state->Pass(); };
    }
    // False when fewer have come within the limit.
    bool WaitFor(int count, std::chrono::milliseconds limit = std::chrono::seconds(60)) {
        std::unique_lock lock(state->mutex);
        return state->changed.wait_for(lock, limit, [&] { return state->arrived >= count; });
    }
    // From now on nobody waits.
    void Open() {
        const std::lock_guard lock(state->mutex);
        state->open = true;
        state->changed.notify_all();
    }
    ~Gate() { Open(); }

private:
    struct State {
        void Pass() {
            std::unique_lock lock(mutex);
            ++arrived;
            changed.notify_all();
            changed.wait(lock, [&] { return open; });
        }
        std::mutex mutex;
        std::condition_variable changed;
        int arrived = 0;
        bool open = false;
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

} // namespace support
