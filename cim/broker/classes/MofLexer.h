// Splits a MOF text (DSP0221) into tokens. Comments and white space fall away here.
#pragma once

#include "cim/broker/classes/SourceText.h"

#include <string>
#include <string_view>

namespace cim {

struct MofToken {
    enum class Kind { End, Word, Text, Number, Mark } kind = Kind::End;
    std::string_view text; // of a text: what stands between the quotes, escapes and all
    int line = 1;

    bool Is(char mark) const { return kind == Kind::Mark && text[0] == mark; }
    bool Is(std::string_view word) const; // without regard to case
};

// What a text token says, its escapes resolved. Throws TextError for an escape that is none.
std::string Unescaped(const MofToken &token);

class MofLexer {
public:
    // The text must outlive the lexer and its tokens.
    explicit MofLexer(std::string_view text) : rest(text) {}
    MofToken Next(); // throws TextError

private:
    void SkipBlanks();
    MofToken Quoted(char quote);
    void Advance(std::size_t count);

    std::string_view rest;
    int line = 1;
};

} // namespace cim
