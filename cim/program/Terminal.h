// The terminal that standard output may be: what it can show, and a screen of our own on it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cim {

bool OnTerminal(); // one that is not "dumb" by TERM
// Colours on a terminal, unless the environment sets NO_COLOR to something.
bool WantsColour();

struct TerminalSize {
    std::size_t width = 80, height = 24;
};
TerminalSize SizeOfTerminal();

// Writes all of a text to the file. False with errno set when that is not possible any more.
bool WriteAll(int file, std::string_view text);
// The same to standard output.
bool Print(std::string_view text);
// To standard output when the file is "-"; else in one step: the file is the old one, or none, until the new one is
// complete. False, with a line that says why, when it cannot be written.
bool WriteWhole(const std::string &file, std::string_view text, std::string *error);

// A second screen without a cursor. What was on the terminal comes back when it is left, at the latest when this ends.
class Screen {
public:
    Screen() { Enter(); }
    ~Screen() { Leave(); }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;
    void Enter();
    void Leave();
    // In place of what is shown; what does not fit is left out.
    void Show(const std::string &text, std::size_t height) const;
};

} // namespace cim
