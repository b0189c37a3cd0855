#include "cim/quarnel/QuarnelProviderUtil/Lock.h"

#ifdef QUARNEL_LOCK_CHECKS

#include <stdio.h>
#include <stdlib.h>

namespace {

constexpr unsigned Bit(LockRank rank) { return 1U << static_cast<unsigned>(rank); }

thread_local unsigned held;

// What may be held already when a lock of a rank is taken: a second kind mutex is never allowed.
constexpr unsigned AllowedUnder(LockRank rank) {
    switch (rank) {
    case LockRank::Controller:
        return Bit(LockRank::Kind);
    case LockRank::Threads:
        return Bit(LockRank::Life) | Bit(LockRank::Kind);
    case LockRank::Queue:
        return Bit(LockRank::Threads);
    case LockRank::Life:
    case LockRank::Kind:
        break;
    }
    return 0;
}

void Check(bool inOrder, const char *what, unsigned detail) {
    if (inOrder) return;
    fprintf(stderr, "lock order broken: %s (rank %u, held 0x%x)\n", what, detail, held);
    abort();
}

} // namespace

void NoteLocked(LockRank rank) {
    Check((held & ~AllowedUnder(rank)) == 0, "taken out of order", static_cast<unsigned>(rank));
    held |= Bit(rank);
}

void NoteUnlocked(LockRank rank) { held &= ~Bit(rank); }

void NoteUpcall() { Check((held & ~Bit(LockRank::Kind)) == 0, "up-call under a lock", 0); }

void NoteControllerNeeded() { Check((held & Bit(LockRank::Controller)) != 0, "CtrlMutex is not held", 0); }

#endif
