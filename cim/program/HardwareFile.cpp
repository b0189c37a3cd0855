#include "cim/program/HardwareFile.h"

#include "cim/simhhrc/Description.h"

namespace cim {

std::optional<HardwareFile::News> HardwareFile::Look() {
    sim::FileState now;
    const bool there = sim::StateOf(file, &now) == 0;
    if (there && settled && now == state) return {};
    state = now;
    settled = there && !now.IsFresh();

    std::string error;
    sim::LoadDescription(file, nullptr, &error);
    if (error == mistake) return {};
    mistake = error;
    if (mistake.empty()) return News{false, file + ": read again"};
    return News{true, mistake};
}

} // namespace cim
