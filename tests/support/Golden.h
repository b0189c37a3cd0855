// Texts that a test expects, kept as files beside the tests so that a change of them is read as text.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace support {

// Fails the test unless the file says the same; with QUARNEL_GOLDEN=write in the environment it is written anew.
inline void ExpectGolden(const std::string &file, const std::string &actual) {
    const char *wish = std::getenv("QUARNEL_GOLDEN");
    if (wish != nullptr && std::string(wish) == "write") {
        std::ofstream(file, std::ios::binary) << actual;
        return;
    }
    std::ifstream in(file, std::ios::binary);
    ASSERT_TRUE(in) << file << " cannot be read";
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), actual) << "expected is " << file;
}

} // namespace support
