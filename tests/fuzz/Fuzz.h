// A fuzz target reads inputs of any bytes. Whatever it makes of one, it must not crash, hang, leak, let an exception
// out or fail a Require. A broker that it makes it keeps for good: the fuzzer exits from the main thread, whose own
// storage, which a broker needs to shut down, is gone before static objects are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

void Read(std::string_view input); // each target's own, in its only source

inline void Require(bool holds, const std::string &what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what.c_str());
    std::abort();
}

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Read({reinterpret_cast<const char *>(data), size});
    return 0;
}
