#include "cim/simhhrc/FileText.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <sys/stat.h>

namespace sim {
namespace {

constexpr double kClockStep = 0.05; // seconds; time stamps move on in steps of some milliseconds

FileState From(const struct stat &status) { return {status.st_mtim, status.st_size, status.st_ino, status.st_dev}; }

} // namespace

bool FileState::IsFresh() const {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const double age =
        static_cast<double>(now.tv_sec - modified.tv_sec) + static_cast<double>(now.tv_nsec - modified.tv_nsec) * 1e-9;
    return age < kClockStep;
}

bool operator==(const FileState &a, const FileState &b) {
    return a.modified.tv_sec == b.modified.tv_sec && a.modified.tv_nsec == b.modified.tv_nsec && a.size == b.size &&
           a.inode == b.inode && a.device == b.device;
}

int StateOf(const std::string &file, FileState *state) {
    struct stat status;
    if (stat(file.c_str(), &status) != 0) return errno;
    *state = From(status);
    return 0;
}

int ReadTextFile(const std::string &file, std::string *text, FileState *state) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> opened(std::fopen(file.c_str(), "re"), std::fclose);
    struct stat status;
    if (opened == nullptr || fstat(fileno(opened.get()), &status) != 0) return errno;
    std::string read;
    char buffer[65536];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, opened.get())) read.append(buffer, count);
    if (std::ferror(opened.get()) != 0) return errno;
    *text = std::move(read);
    *state = From(status);
    return 0;
}

} // namespace sim
