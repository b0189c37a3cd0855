// What has changed since the server started, as far as anybody will want to read back.
#pragma once

#include "cim/inventory/Changes.h"
#include "cim/inventory/Json.h"

#include <cstdint>
#include <deque>
#include <string>

namespace cim::picture {

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

} // namespace cim::picture
