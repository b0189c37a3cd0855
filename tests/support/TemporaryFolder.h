// A folder of a test's own, which goes with all that is in it when the test ends.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>

namespace support {

class TemporaryFolder {
public:
    TemporaryFolder() : path((std::filesystem::temp_directory_path() / "quarnel-test-XXXXXX").string()) {
        if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("cannot make " + path);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &Path() const { return path; }
    std::string operator/(const std::string &name) const { return path + "/" + name; }
    // The file's path. It is replaced as a whole: a reader sees the old text or the new one.
    std::string Write(const std::string &name, const std::string &text) const {
        const std::string beside = path + "/." + name + ".new";
        std::ofstream(beside, std::ios::binary) << text;
        std::filesystem::rename(beside, path + "/" + name);
        return path + "/" + name;
    }

private:
    std::string path;
};

} // namespace support
