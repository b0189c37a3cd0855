#include "cim/quarnel/QuarnelProviderUtil/Lock.h"

#ifdef QUARNEL_LOCK_CHECKS

#include <stdio.h>
#include <stdlib.h>

namespace {

constexpr unsigned Bit(LockRank rank) { return 1U << static_cast<unsigned>(rank); }

thread_local unsigned held;

// By rank, what may be held already when a lock is taken: a second kind mutex is never allowed.
constexpr unsigned kAllowedUnder[] = {
    0,                                         // Life
    0,                                         // Kind
    Bit(LockRank::Kind),                       // Controller
    Bit(LockRank::Life) | Bit(LockRank::Kind), // Threads
    Bit(LockRank::Threads),                    // Queue
};

void Check(bool inOrder, const char *what, unsigned detail) {
    if (inOrder) return;
    fprintf(stderr, "lock order broken: %s (rank %u, held 0x%x)\n", what, detail, held);
    abort();
}

} // namespace

void NoteLocked(LockRank rank) {
    const auto index = static_cast<unsigned>(rank);
    Check((held & ~kAllowedUnder[index]) == 0, "taken out of order", index);
    held |= Bit(rank);
}

void NoteUnlocked(LockRank rank) { held &= ~Bit(rank); }

void NoteUpcall() { Check((held & ~Bit(LockRank::Kind)) == 0, "up-call under a lock", 0); }

void NoteControllerNeeded() { Check((held & Bit(LockRank::Controller)) != 0, "CtrlMutex is not held", 0); }

#endif
