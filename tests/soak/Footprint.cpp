#include "tests/soak/Footprint.h"

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

#ifdef QUARNEL_SANITIZED
#include <sanitizer/allocator_interface.h>
#endif

namespace support {
namespace {

std::size_t HeapInUse() {
#ifdef QUARNEL_SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

} // namespace

Footprint TakeFootprint() {
    malloc_trim(0);
    unsigned long pages = 0;
    std::FILE *statistics = std::fopen("/proc/self/statm", "r");
    if (statistics == nullptr || std::fscanf(statistics, "%*u %lu", &pages) != 1) pages = 0;
    if (statistics != nullptr) std::fclose(statistics);
    return {HeapInUse(), pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE))};
}

} // namespace support
