// Words that stand in every vendor's model and so tell nobody whose hardware it is.
#pragma once

#include "cim/simhhrc/Classes.h"

#include <set>
#include <string>
#include <string_view>

namespace cim {

// ASCII's, whatever the locale.
inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsHex(char c) { return IsDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }
bool HasDigit(std::string_view text);

// Words are runs of letters, digits and whatever is not ASCII.
inline bool IsWordPart(char c) { return IsDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') || (c & 0x80) != 0; }
// The length of the word that begins there, 0 for none.
std::size_t WordLength(std::string_view text, std::size_t begin);

class Vocabulary {
public:
    // With the words of which the names of classes and properties are made: a description has those names anyway.
    explicit Vocabulary(const sim::Classes &known);

    bool IsClass(std::string_view text) const { return classes.Find(text) != sim::kNoClass; }
    // A word of the vocabulary, a single letter or a number of up to three digits, or a number beside one of the
    // others: "enclosure", "252", "c0", "RAID10", "12Gb".
    bool IsCommon(std::string_view word) const;

private:
    void LearnName(std::string_view name);

    const sim::Classes &classes;
    std::set<std::string, std::less<>> words; // in lower case
};

} // namespace cim
