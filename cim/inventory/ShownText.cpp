#include "cim/inventory/ShownText.h"

#include <algorithm>

namespace cim {

namespace {

constexpr const char *kReset = "\033[0m";

bool Continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

} // namespace

std::size_t LengthOf(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !Continues(c); }));
}

std::string Printable(std::string_view text) {
    std::string printable;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // C2 80 to C2 9F are the control characters above ASCII: some terminals obey them.
        const bool upperControl = byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (upperControl) ++i;
        printable += byte < 0x20 || byte == 0x7F || upperControl ? '?' : text[i];
    }
    return printable;
}

std::string Counted(std::size_t count, const char *one, const char *several) {
    return std::to_string(count) + " " + (count == 1 ? one : several);
}

std::string Shown(std::string_view text) { return text.empty() ? "-" : Printable(text); }

std::string Styled(const std::string &text, const char *style, const TextOptions &options) {
    return options.colour && *style != '\0' ? style + text + kReset : text;
}

std::string Padded(const std::string &text, std::size_t width, bool right) {
    const std::string padding(std::max(width, LengthOf(text)) - LengthOf(text), ' ');
    return right ? padding + text : text + padding;
}

std::string Cut(const std::string &text, std::size_t width) {
    std::size_t end = text.find_last_not_of(' ') + 1;
    if (width == 0 || LengthOf(text.substr(0, end)) <= width) return text.substr(0, end);
    for (end = 0; end < text.size(); ++end) {
        if (!Continues(text[end]) && width-- == 0) break;
    }
    return text.substr(0, end);
}

} // namespace cim
