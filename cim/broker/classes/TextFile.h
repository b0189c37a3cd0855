// Reads a file as a whole.
#pragma once

#include <string>

namespace cim {

// False, with "FILE: reason" in `error`, when it cannot be read.
bool ReadWholeFile(const std::string &file, std::string *text, std::string *error);

} // namespace cim
