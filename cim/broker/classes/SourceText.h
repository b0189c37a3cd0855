// Texts that a broker is configured with, and what is wrong with them.
#pragma once

#include <string>

namespace cim {

// Where a text is wrong, thrown by those who read one.
struct TextError {
    int line;
    std::string reason;

    std::string In(const std::string &file) const { return file + ":" + std::to_string(line) + ": " + reason; }
};

// Reads a file as a whole. False, with "FILE: reason" in `error`, when that fails.
bool ReadWholeFile(const std::string &file, std::string *text, std::string *error);

} // namespace cim
