#include "cim/broker/classes/SourceText.h"

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

namespace cim {

bool ReadWholeFile(const std::string &file, std::string *text, std::string *error) {
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    if (stream && stream.peek() != std::ifstream::traits_type::eof()) content << stream.rdbuf();
    if (!stream.is_open() || stream.bad() || errno == EISDIR) {
        *error = file + ": " + std::generic_category().message(errno != 0 ? errno : EIO);
        return false;
    }
    *text = content.str();
    return true;
}

} // namespace cim
