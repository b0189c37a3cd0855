// Texts for terminals and lines.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cim {

struct TextOptions {
    bool colour = false;
    std::size_t width = 0; // lines are cut to this many characters; 0: not at all
};

// The text between an ANSI style and its end, or as it is when the style is "" or colours are off.
std::string Styled(const std::string &text, const char *style, const TextOptions &options);

// What a terminal may be shown of a text from outside: control characters become "?".
std::string Printable(std::string_view text);

// The same, and "-" for an empty text.
std::string Shown(std::string_view text);

// "1 disk", "2 disks".
std::string Counted(std::size_t count, const char *one, const char *several);

// Characters, not bytes, of a UTF-8 text.
std::size_t LengthOf(std::string_view text);

// The text with blanks behind it, or before it when it stands right, to so many characters.
std::string Padded(const std::string &text, std::size_t width, bool right);
// The text without blanks at its end, cut to so many characters; 0: to any number.
std::string Cut(const std::string &text, std::size_t width);

constexpr const char *kBold = "\033[1m";
constexpr const char *kRed = "\033[1;31m";
constexpr const char *kYellow = "\033[33m";
constexpr const char *kMagenta = "\033[35m";

} // namespace cim
