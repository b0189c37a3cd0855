#include "cim/simhhrc/FollowedDescription.h"

#include <syslog.h>
#include <system_error>

namespace sim {

bool Snapshot::FirstTime(const std::string &text) const {
    const std::lock_guard<std::mutex> lock(mutex);
    return said.insert(text).second;
}

void FollowedDescription::Follow(const std::string &file) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (path == file) return;
    path = file;
    state = {};
    text.reset();
    unreadable = false;
    current = std::make_shared<Snapshot>();
}

std::shared_ptr<const Snapshot> FollowedDescription::Current() {
    const std::lock_guard<std::mutex> lock(mutex);
    Refresh();
    return current;
}

// Logs once for each change: requests come by the thousand.
void FollowedDescription::Refresh() {
    FileState now;
    int problem = StateOf(path, &now);
    if (problem == 0 && now == state && !state.IsFresh()) return;
    std::string read;
    if (problem == 0) problem = ReadTextFile(path, &read, &now);
    if (problem != 0) {
        const char *name = path.empty() ? "the hardware description that SIM_HHRC_HARDWARE names" : path.c_str();
        if (!unreadable)
            syslog(LOG_ERR, "%s: cannot be read: %s", name, std::generic_category().message(problem).c_str());
        unreadable = true;
        state = {};
        return;
    }
    unreadable = false;
    state = now;
    if (text == read) return;
    text = std::move(read);
    auto snapshot = std::make_shared<Snapshot>();
    std::string error;
    if (ReadDescription(*text, path, &snapshot->description, &error)) {
        current = std::move(snapshot);
    } else {
        syslog(LOG_ERR, "%s", error.c_str());
    }
}

} // namespace sim
