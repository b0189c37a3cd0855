#include "tests/soak/Footprint.h"

#include <cstdio>
#include <malloc.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED
#endif
#endif
#ifdef SANITIZED
#include <sanitizer/allocator_interface.h>
#endif

namespace support {
namespace {

std::size_t HeapInUse() {
#ifdef SANITIZED
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
