// Texts: CIM's names, which compare without regard to case, and UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cim {

bool SameLetters(std::string_view a, std::string_view b); // of one length
// Namespaces, classes, properties, keys.
inline bool SameName(std::string_view a, std::string_view b) { return a.size() == b.size() && SameLetters(a, b); }
// ASCII letters alone, whatever the locale.
std::string LowerCase(std::string_view text);
// Without blanks and line ends around it.
std::string_view Trimmed(std::string_view text);

constexpr char32_t kReplacement = 0xFFFD; // in place of what is not a character
constexpr char kReplacementText[] = "\xEF\xBF\xBD";

struct Character {
    char32_t code = kReplacement;
    std::size_t bytes = 1;
    bool valid = false;
};

// The first character of a text that is not empty. Not valid: bytes are those that no character can begin with, at
// least one, so that reading on behind them finds the next character.
Character FirstCharacter(std::string_view text);

bool IsUtf8(std::string_view text);
// Half of a UTF-16 pair, and what is beyond Unicode, become U+FFFD.
std::string Utf8Of(char32_t code);

bool IsXmlCharacter(char32_t code); // XML 1.0
// Well-formed UTF-8 without control characters, whatever the text held: each that it must not hold becomes U+FFFD.
std::string CleanText(std::string_view text);

} // namespace cim
