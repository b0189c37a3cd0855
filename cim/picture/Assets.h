// The page's files, embedded in the program at build time.
#pragma once

#include <string_view>

namespace cim::picture {

struct Asset {
    std::string_view path; // "/" or "/picture/NAME"
    std::string_view type; // Content-Type
    std::string_view content;
};

const Asset *FindAsset(std::string_view path); // null: there is none

} // namespace cim::picture
