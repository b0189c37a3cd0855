// Characters as UTF-8.
#pragma once

#include <cstdint>
#include <string>

namespace cim {

// A character of UCS-2.
inline std::string Utf8Of(std::uint64_t code) {
    const auto tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) return {static_cast<char>(code)};
    if (code < 0x800) return {static_cast<char>(0xC0 | code >> 6), tail(0)};
    return {static_cast<char>(0xE0 | (code >> 12 & 0x0F)), tail(6), tail(0)};
}

} // namespace cim
