#include "cim/broker/classes/MofLexer.h"

#include "cim/values/Text.h"

#include <algorithm>
#include <charconv>

namespace cim {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsWordStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 128;
}
bool IsWord(char c) { return IsWordStart(c) || IsDigit(c); }
bool IsNumber(char c) { return IsWord(c) || c == '.' || c == '+' || c == '-'; }

// The character that an escape stands for; takes the escape, less its backslash, from the text's front.
std::string TakeEscape(std::string_view &text, int line) {
    constexpr std::string_view kLetters = "btnfr\"'\\", kMeanings = "\b\t\n\f\r\"'\\";
    const char letter = text[0];
    text.remove_prefix(1);
    if (const std::size_t known = kLetters.find(letter); known != std::string_view::npos) return {kMeanings[known]};
    unsigned code = 0;
    const char *end = text.data() + std::min<std::size_t>(text.size(), 4);
    const auto [stop, error] = std::from_chars(text.data(), end, code, 16);
    if ((letter != 'x' && letter != 'X') || error != std::errc())
        throw TextError{line, "'\\" + std::string(1, letter) + "' is not an escape sequence"};
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return Utf8Of(code);
}

std::size_t Span(std::string_view text, bool (*belongs)(char)) {
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), belongs) - text.begin());
}

} // namespace

bool MofToken::Is(std::string_view word) const { return kind == Kind::Word && SameName(text, word); }

std::string Unescaped(const MofToken &token) {
    std::string text;
    for (std::string_view rest = token.text; !rest.empty();) {
        const std::size_t plain = std::min(rest.find('\\'), rest.size());
        text += rest.substr(0, plain);
        rest.remove_prefix(std::min(plain + 1, rest.size()));
        if (!rest.empty()) text += TakeEscape(rest, token.line);
    }
    return text;
}

void MofLexer::Advance(std::size_t count) {
    line += static_cast<int>(std::count(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count), '\n'));
    rest.remove_prefix(count);
}

void MofLexer::SkipBlanks() {
    for (;;) {
        Advance(std::min(rest.find_first_not_of(" \t\r\n\f\v"), rest.size()));
        if (rest.substr(0, 2) == "//") {
            Advance(std::min(rest.find('\n'), rest.size()));
        } else if (rest.substr(0, 2) == "/*") {
            const std::size_t end = rest.find("*/", 2);
            if (end == std::string_view::npos) throw TextError{line, "comment without an end"};
            Advance(end + 2);
        } else {
            return;
        }
    }
}

MofToken MofLexer::Quoted(char quote) {
    std::size_t end = 1;
    while (end < rest.size() && rest[end] != quote) {
        if (rest[end] == '\n') throw TextError{line, "text without a closing quote"};
        end += rest[end] == '\\' ? 2 : 1;
    }
    if (end >= rest.size()) throw TextError{line, "text without a closing quote"};
    const MofToken token{MofToken::Kind::Text, rest.substr(1, end - 1), line};
    Advance(end + 1);
    return token;
}

MofToken MofLexer::Next() {
    SkipBlanks();
    if (rest.empty()) return {MofToken::Kind::End, "end of file", line};
    const char c = rest[0];
    if (c == '"' || c == '\'') return Quoted(c);
    MofToken token{MofToken::Kind::Mark, rest.substr(0, 1), line};
    if (IsWordStart(c)) {
        token = {MofToken::Kind::Word, rest.substr(0, Span(rest, IsWord)), line};
    } else if (IsDigit(c) || c == '+' || c == '-' || c == '.') {
        token = {MofToken::Kind::Number, rest.substr(0, Span(rest, IsNumber)), line};
    } else if (std::string_view("[](){}:;,=#").find(c) == std::string_view::npos) {
        throw TextError{line, "unexpected character '" + std::string(1, c) + "'"};
    }
    Advance(token.text.size());
    return token;
}

} // namespace cim
