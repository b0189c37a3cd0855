#include "cim/simhhrc/TextFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sim {
namespace {

constexpr double kClockStep = 0.05; // seconds; time stamps move on in steps of some milliseconds

FileState From(const struct stat &status) { return {status.st_mtim, status.st_size, status.st_ino, status.st_dev}; }

struct Descriptor {
    explicit Descriptor(int opened) : fd(opened) {}
    ~Descriptor() {
        if (fd >= 0) close(fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    const int fd;
};

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
    const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (opened.fd < 0 || fstat(opened.fd, &status) != 0) return errno;
    std::string read;
    char buffer[65536];
    ssize_t count;
    while ((count = ::read(opened.fd, buffer, sizeof buffer)) != 0) {
        if (count > 0) {
            read.append(buffer, static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return errno;
        }
    }
    *text = std::move(read);
    *state = From(status);
    return 0;
}

} // namespace sim
