// Text composed in a fixed buffer. What does not fit is cut without notice, but never inside a UTF-8 character: the
// result stays valid text for a client.
#pragma once

#include <stddef.h>
#include <stdint.h>

class TextComposer {
public:
    const char *Text() const { return buffer; }
    // Texts, none of them null, and numbers, one after the other. Not printf: a volume's caption has hundreds of parts,
    // and parsing formats was a third of the cost of rendering it.
    template <class... Parts> void Append(const Parts &...parts) { (AppendPart(parts), ...); }
    bool Full() const { return full; } // something was cut: anything more is dropped

protected:
    TextComposer(char *storage, size_t capacity) : buffer(storage), size(capacity) { buffer[0] = '\0'; }
    TextComposer(const TextComposer &) = delete;
    TextComposer &operator=(const TextComposer &) = delete;

private:
    void AppendPart(const char *text) { AppendBytes(text, __builtin_strlen(text)); } // a literal's is known
    void AppendPart(uint64_t number);
    void AppendBytes(const char *text, size_t wanted) {
        if (wanted > size - 1 - length) return AppendCut(text);
        __builtin_memcpy(buffer + length, text, wanted);
        length += wanted;
        buffer[length] = '\0';
    }
    void AppendCut(const char *text);

    char *buffer;
    size_t size;
    size_t length = 0;
    bool full = false;
};

template <size_t Size> class TextBuffer : public TextComposer {
public:
    // cppcheck-suppress uninitMemberVar // nothing behind the terminator is read
    TextBuffer() : TextComposer(storage, Size) {}

private:
    char storage[Size];
};
