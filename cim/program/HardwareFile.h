// The hardware description while it is served: tells when somebody breaks the file and when it is good again.
#pragma once

#include "cim/simhhrc/FileText.h"

#include <optional>
#include <string>
#include <utility>

namespace cim {

class HardwareFile {
public:
    // A file that has been read without a mistake.
    explicit HardwareFile(std::string read) : file(std::move(read)) {}

    struct News {
        bool rejected;      // what the file said before stays in force
        std::string reason; // FILE:LINE: REASON; of a file that is good again "FILE: read again"
    };
    // Each mistake is reported once, and once more that the file is good again.
    std::optional<News> Look();

    const std::string &Name() const { return file; }

private:
    const std::string file;
    sim::FileState state;
    bool settled = false; // a change after the last look shows in `state`
    std::string mistake;  // the one told; empty: the file is good
};

} // namespace cim
