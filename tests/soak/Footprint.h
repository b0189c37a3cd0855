// What the process takes of memory.
#pragma once

#include <cstddef>

namespace support {

struct Footprint {
    std::size_t heap;     // bytes that are allocated
    std::size_t resident; // bytes of the process that are in memory
};

Footprint TakeFootprint();

} // namespace support
