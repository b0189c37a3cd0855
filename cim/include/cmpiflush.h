/*
 * The context function table of platforms whose broker has a flush entry behind addEntry. The standard's table ends
 * with addEntry, so only a build for such a platform (QUARNEL_CONTEXT_FLUSH) may look at a context's table through this
 * type.
 */
#ifndef QUARNEL_CMPIFLUSH_H
#define QUARNEL_CMPIFLUSH_H

#include <cmpift.h>

#ifdef __cplusplus
extern "C" {
#endif

struct CMPIContextFlushFT {
    CMPIContextFT standard;
    /* Frees everything that the broker has lent to the context's thread so far; clones stay. */
    CMPIStatus (*flush)(const CMPIContext *);
};

#ifdef __cplusplus
}
#endif

#endif
