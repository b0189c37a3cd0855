#include "cim/wbem/Utf8.h"

namespace cim::wbem {

namespace {

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

bool IsCharacter(char32_t code, char32_t least) {
    return code >= least && code <= 0x10FFFF && !(code >= 0xD800 && code <= 0xDFFF);
}

} // namespace

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
        if (!IsCharacter(code, form.least)) return {kReplacement, form.bytes, false};
        return {code, form.bytes, true};
    }
    return {kReplacement, 1, false};
}

bool IsXmlCharacter(char32_t code) {
    if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
    return code < 0xD800 || (code > 0xDFFF && code < 0xFFFE) || (code > 0xFFFF && code <= 0x10FFFF);
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

} // namespace cim::wbem
