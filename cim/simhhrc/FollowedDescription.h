// The description in force: follows its file, and hands out snapshots that never change.
#pragma once

#include "cim/simhhrc/Description.h"
#include "cim/simhhrc/FileText.h"

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace sim {

struct Snapshot {
    Description description;

    // True the first time that it is asked with this text: what is to be logged once per description.
    bool FirstTime(const std::string &text) const;

private:
    mutable std::mutex mutex;
    mutable std::set<std::string> said;
};

// Thread-safe.
class FollowedDescription {
public:
    // The file to follow from now on. The same one again changes nothing.
    void Follow(const std::string &file);
    // What the file says now; when it cannot be read or has a mistake in it, which is logged once, what it said last.
    // Never null; without a good description it holds nothing.
    std::shared_ptr<const Snapshot> Current();

private:
    void Refresh();

    std::mutex mutex;
    std::string path;
    FileState state;                 // that `text` was read in
    std::optional<std::string> text; // the last one read, good or not
    bool unreadable = false;
    std::shared_ptr<const Snapshot> current = std::make_shared<Snapshot>();
};

} // namespace sim
