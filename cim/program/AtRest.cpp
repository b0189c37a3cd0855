#include "cim/program/AtRest.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace cim {

namespace {

// The state stands behind the thread's name, which is in parentheses and may hold any character: proc(5).
bool IsAtRest(const std::filesystem::path &task) {
    std::string stat;
    if (!std::getline(std::ifstream(task / "stat"), stat)) return true; // it has ended
    const std::size_t name = stat.rfind(')');
    return name == std::string::npos || name + 2 >= stat.size() ||
           std::string("RD").find(stat[name + 2]) == std::string::npos;
}

} // namespace

bool OtherThreadsAreAtRest() {
    const std::string own = std::to_string(gettid());
    std::error_code unreadable;
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task", unreadable))
        if (task.path().filename() != own && !IsAtRest(task.path())) return false;
    return true;
}

} // namespace cim
