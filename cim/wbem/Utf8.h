// UTF-8 taken apart, and the characters that XML 1.0 allows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace cim::wbem {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char kReplacementText[] = "\xEF\xBF\xBD";

struct Character {
    char32_t code = kReplacement;
    std::size_t bytes = 1;
    bool valid = false;
};

// The first character of a text that is not empty. Not valid: bytes are those that no character can begin with, at
// least one, so that reading on behind them finds the next character.
Character FirstCharacter(std::string_view text);

bool IsXmlCharacter(char32_t code);

// The text as UTF-8 without control characters: what is neither becomes U+FFFD.
std::string CleanText(std::string_view text);

} // namespace cim::wbem
