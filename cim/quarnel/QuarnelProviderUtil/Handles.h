// Owners of cloned broker objects, and of heap memory. What the broker lent never enters one.
#pragma once

#include <cmpift.h>

#include <memory>
#include <stdlib.h>

struct ReleaseHandle {
    template <class Handle> void operator()(Handle *handle) const { handle->ft->release(handle); }
};
template <class Handle> using Owned = std::unique_ptr<Handle, ReleaseHandle>; // always a clone

// Null for a null handle, and when the broker cannot make the clone.
template <class Handle> Owned<Handle> CloneOf(const Handle *lent) {
    CMPIStatus status = {CMPI_RC_OK, nullptr};
    Handle *copy = lent != nullptr ? lent->ft->clone(lent, &status) : nullptr;
    return Owned<Handle>(status.rc == CMPI_RC_OK ? copy : nullptr);
}

template <auto Free> struct FreeWith {
    template <class Element> void operator()(Element *element) const { Free(element); }
};
template <class Element> using Heap = std::unique_ptr<Element, FreeWith<free>>; // from malloc, calloc, strdup

// `count` zero-filled elements, or null.
template <class Element> Element *Allocate(size_t count = 1) {
    return static_cast<Element *>(calloc(count, sizeof(Element)));
}
