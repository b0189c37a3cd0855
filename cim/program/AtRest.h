// Whether this process has anything left to do.
#pragma once

namespace cim {

// True when every other thread of the process waits for something; a thread that only lacks a processor does not.
// Linux's /proc/self/task tells; where it cannot be read, true.
bool OtherThreadsAreAtRest();

} // namespace cim
