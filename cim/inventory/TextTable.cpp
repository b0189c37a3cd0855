#include "cim/inventory/TextTable.h"

#include <algorithm>

namespace cim {

namespace {

constexpr const char *kReset = "\033[0m";

bool Continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

void AppendPadded(std::string &line, const std::string &text, std::size_t width, bool right) {
    const std::size_t length = LengthOf(text);
    const std::string padding(width > length ? width - length : 0, ' ');
    line += right ? padding + text : text + padding;
}

void Cut(std::string &line, std::size_t width) {
    line.erase(line.find_last_not_of(' ') + 1);
    if (width == 0 || LengthOf(line) <= width) return;
    std::size_t end = 0;
    for (std::size_t characters = 0; characters < width; ++characters) {
        do {
            ++end;
        } while (end < line.size() && Continues(line[end]));
    }
    line.resize(end);
}

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

std::string Render(const TextTable &table, const TextOptions &options) {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        std::size_t width = LengthOf(table.columns[i].title);
        for (const auto &row : table.rows) width = std::max(width, LengthOf(Shown(row.cells[i])));
        widths.push_back(width);
    }
    std::size_t markWidth = 0;
    for (const auto &row : table.rows) markWidth = std::max(markWidth, LengthOf(row.mark));

    std::string text;
    const auto addLine = [&](const std::string &mark, const auto &cellOf, const char *style) {
        std::string line;
        AppendPadded(line, mark, markWidth, false);
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if (!line.empty()) line += i == 0 ? " " : "  ";
            AppendPadded(line, cellOf(i), widths[i], table.columns[i].right);
        }
        Cut(line, options.width);
        text += Styled(line, style, options) + "\n";
    };
    addLine(
        "", [&](std::size_t i) { return table.columns[i].title; }, "");
    for (const auto &row : table.rows)
        addLine(
            row.mark, [&](std::size_t i) { return Shown(row.cells[i]); }, row.style);
    return text;
}

} // namespace cim
