// Looks at the hardware on behalf of everybody who wants to see it, and remembers what changed between two looks.
#pragma once

#include "cim/inventory/Changes.h"
#include "cim/inventory/Gone.h"
#include "cim/inventory/Times.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace cim::picture {

// The latest changes since the server started.
constexpr std::size_t kChangesKept = 300;

class ChangeLog {
public:
    // The oldest entry gives way when there are too many.
    void Add(const Change &change, const std::string &time);

    // As `quarnel watch --json` has them, newest first, each with "number" (counted from 1), the item's "facts" and, of
    // a changed one, "factChanges": {fact: {"from", "to"}}.
    Json ToJson() const;

private:
    std::deque<Json> newestFirst;
    std::uint64_t added = 0;
};

// A hardware file that cannot be read as it stands: what it said before is still shown.
struct Rejection {
    std::string file;
    std::string reason; // FILE:LINE: REASON
    std::time_t since = 0;
};

// What is known after a look.
struct Observation {
    Inventory inventory;
    Memory memory;
    ChangeLog log;
    std::optional<Rejection> rejected;
    std::uint64_t version = 0;            // another one whenever one of these is another; 0: nothing could be read yet
    std::time_t since = 0;                // first look that could read
    std::time_t time = 0;                 // latest look that could read
    std::chrono::duration<double> age{0}; // since then
    std::string failure;                  // why the latest look could not read; empty: it could
    TimesOfKinds times;
    std::uint64_t looks = 0, looksFailed = 0;
    std::chrono::duration<double> readingTook{0}; // in the latest look
};

struct Pace {
    // Looks are shared by all that are asked for within this time.
    std::chrono::milliseconds fresh{1000};
    // Nobody may be watching when a disk fails: so there is a look at least that often. The provider itself would not
    // look at the hardware more often.
    std::chrono::milliseconds idle{20000};
};

class Observer {
public:
    using Read = std::function<Answer<Instances>()>; // called by one thread at a time

    explicit Observer(Read read, const Pace &pace = {});
    ~Observer();
    Observer(const Observer &) = delete;
    Observer &operator=(const Observer &) = delete;

    // Looks, unless the latest look is still fresh, and shows what is known. `show` is called once, under the lock.
    void Observe(const std::function<void(const Observation &)> &show);

    // The hardware file cannot be read, and why. Empty: it can be read again.
    void Reject(const std::string &file, const std::string &reason);

private:
    using Clock = std::chrono::steady_clock;

    void Look();       // with the lock held
    void LookOnIdly(); // the thread's

    const Read read;
    const Pace pace;

    std::mutex mutex;
    std::condition_variable stopped;
    Observation known;        // guarded by mutex, as all that follows
    Clock::time_point looked; // latest look
    Clock::time_point readAt; // latest look that could read
    bool stop = false;

    std::thread thread;
};

} // namespace cim::picture
