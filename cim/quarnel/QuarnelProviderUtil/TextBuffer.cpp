#include "cim/quarnel/QuarnelProviderUtil/TextBuffer.h"

#include <string.h>

namespace {

// How many bytes the UTF-8 character (RFC 3629) has that begins with this byte; 0 for a byte that cannot begin one.
size_t CharacterLength(unsigned char first) {
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return 2;
    if (first >= 0xE0 && first <= 0xEF) return 3;
    if (first >= 0xF0 && first <= 0xF4) return 4;
    return 0;
}

// The length without a character that was cut at the end. Bytes that are not UTF-8 stay as they are.
size_t WithoutCutCharacter(const char *text, size_t length) {
    for (size_t back = 1; back <= 3 && back <= length; ++back) {
        const auto byte = static_cast<unsigned char>(text[length - back]);
        const bool continuation = (byte & 0xC0) == 0x80;
        if (!continuation) return CharacterLength(byte) > back ? length - back : length;
    }
    return length;
}

} // namespace

void TextComposer::AppendCut(const char *text) {
    memcpy(buffer + length, text, size - 1 - length);
    length = WithoutCutCharacter(buffer, size - 1);
    buffer[length] = '\0';
    size = length + 1; // nothing more fits
    full = true;
}

void TextComposer::AppendPart(uint64_t number) {
    char digits[20]; // 2 to the 64th has as many
    char *const end = digits + sizeof digits;
    char *first = end;
    uint64_t rest = number;
    do *--first = static_cast<char>('0' + rest % 10);
    while ((rest /= 10) != 0);
    AppendBytes(first, static_cast<size_t>(end - first));
}
