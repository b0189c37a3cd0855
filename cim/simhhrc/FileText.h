// A file's whole text, and what tells one state of the file from another.
#pragma once

#include <ctime>
#include <string>

#include <sys/types.h>

namespace sim {

struct FileState {
    timespec modified{};
    off_t size = -1;
    ino_t inode = 0;
    dev_t device = 0;

    // A file changed this recently can change again without a change of its time.
    bool IsFresh() const;
};
bool operator==(const FileState &a, const FileState &b);

// 0 or an error number; what is not reached stays as it was.
int StateOf(const std::string &file, FileState *state);
int ReadTextFile(const std::string &file, std::string *text, FileState *state);

} // namespace sim
