#include "cim/values/Text.h"

#include <algorithm>
#include <cstring>

namespace cim {
namespace {

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

struct Form {
    unsigned char mask, lead; // of the first byte
    unsigned char bytes;
    char32_t least; // smaller codes have a shorter form
};
constexpr Form kForms[] = {
    {0x80, 0x00, 1, 0},
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
};

bool IsCharacter(char32_t code) { return code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF); }

} // namespace

bool SameLetters(std::string_view a, std::string_view b) {
    if (std::memcmp(a.data(), b.data(), a.size()) == 0) return true;
    return std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    return lower;
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

Character FirstCharacter(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    for (const Form &form : kForms) {
        if ((first & form.mask) != form.lead) continue;
        char32_t code = first & static_cast<unsigned char>(~form.mask);
        for (std::size_t i = 1; i < form.bytes; ++i) {
            const unsigned char next = i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
            if ((next & 0xC0) != 0x80) return {kReplacement, i, false};
            code = code << 6 | (next & 0x3F);
        }
        if (code < form.least || !IsCharacter(code)) return {kReplacement, form.bytes, false};
        return {code, form.bytes, true};
    }
    return {};
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const Character next = FirstCharacter(text);
        if (!next.valid) return false;
        text.remove_prefix(next.bytes);
    }
    return true;
}

std::string Utf8Of(char32_t code) {
    if (!IsCharacter(code)) code = kReplacement;
    std::size_t last = 3;
    while (code < kForms[last].least) --last;
    const Form &form = kForms[last];
    std::string text(form.bytes, '\0');
    for (std::size_t i = form.bytes - 1u; i > 0; --i, code >>= 6) text[i] = static_cast<char>(0x80 | (code & 0x3F));
    text[0] = static_cast<char>(form.lead | code);
    return text;
}

bool IsXmlCharacter(char32_t code) {
    if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
    return IsCharacter(code) && code != 0xFFFE && code != 0xFFFF;
}

std::string CleanText(std::string_view text) {
    std::string clean;
    while (!text.empty()) {
        const Character next = FirstCharacter(text);
        if (next.valid && IsXmlCharacter(next.code)) {
            clean.append(text.data(), next.bytes);
        } else {
            clean += kReplacementText;
        }
        text.remove_prefix(next.bytes);
    }
    return clean;
}

} // namespace cim
