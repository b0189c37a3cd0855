#include "cim/broker/faults/CallLog.h"

#include <algorithm>

namespace cim {

void CallLog::Add(Call call) {
    const std::lock_guard<std::mutex> lock(mutex);
    calls.push_back(std::move(call));
}

std::vector<Call> CallLog::Take() {
    std::vector<Call> taken;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        taken.swap(calls);
    }
    std::stable_sort(taken.begin(), taken.end(), [](const Call &a, const Call &b) { return a.start < b.start; });
    return taken;
}

} // namespace cim
