#include "cim/metrics/Exposition.h"

#include "cim/values/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace cim::metrics {

namespace {

constexpr std::string_view kOpenMetricsType = "application/openmetrics-text";
constexpr std::string_view kUnits[] = {"bytes", "seconds"};

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The text before the separator, which with it goes from `text`.
std::string_view TakeUpTo(char separator, std::string_view &text) {
    const std::size_t at = std::min(text.find(separator), text.size());
    const std::string_view taken = Trimmed(text.substr(0, at));
    text.remove_prefix(std::min(at + 1, text.size()));
    return taken;
}

// One of an Accept header's media ranges.
struct MediaRange {
    std::string_view type, version;
    double quality = 1;
};

MediaRange ReadMediaRange(std::string_view text) {
    MediaRange range;
    range.type = TakeUpTo(';', text);
    while (!text.empty()) {
        std::string_view value = TakeUpTo(';', text);
        const std::string_view name = TakeUpTo('=', value);
        if (SameName(name, "version")) range.version = Trimmed(value);
        if (!SameName(name, "q")) continue;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), range.quality);
        if (error != std::errc()) range.quality = 0;
    }
    return range;
}

bool IsPlain(char c) { return c >= ' ' && c < 0x7F && c != '"' && c != '\\'; }

std::string_view CutToLabel(std::string_view clean) {
    if (clean.size() <= kLongestLabelValue) return clean;
    std::size_t end = 0;
    for (std::size_t next = 0; next <= kLongestLabelValue; next += FirstCharacter(clean.substr(end)).bytes) end = next;
    return clean.substr(0, end);
}

void AppendEscaped(std::string &to, std::string_view value) {
    for (const char c : value) {
        if (c == '"' || c == '\\') to += '\\';
        if (c == '\n') to += "\\n";
        if (c != '\n') to += c;
    }
}

} // namespace

const char *ContentTypeOf(Format format) {
    return format == Format::Text ? "text/plain; version=0.0.4; charset=utf-8"
                                  : "application/openmetrics-text; version=1.0.0; charset=utf-8";
}

Format FormatFor(std::string_view accept) {
    double openMetrics = 0, plain = 0, any = 0;
    while (!accept.empty()) {
        const MediaRange range = ReadMediaRange(TakeUpTo(',', accept));
        const bool served = range.version.empty() || range.version == "1.0.0";
        if (SameName(range.type, kOpenMetricsType) && served) openMetrics = std::max(openMetrics, range.quality);
        if (SameName(range.type, "text/plain")) plain = std::max(plain, range.quality);
        if (range.type == "*/*" || SameName(range.type, "text/*")) any = std::max(any, range.quality);
    }
    return openMetrics > 0 && openMetrics >= (plain > 0 ? plain : any) ? Format::OpenMetrics : Format::Text;
}

void AddLabel(std::string &labels, const char *name, std::string_view value) {
    if (value.empty()) return;
    if (!labels.empty()) labels += ',';
    labels.append(name).append("=\"");
    if (value.size() <= kLongestLabelValue && std::all_of(value.begin(), value.end(), IsPlain)) {
        labels += value;
    } else {
        AppendEscaped(labels, CutToLabel(CleanText(value)));
    }
    labels += '"';
}

void Exposition::Begin(const Family &next) {
    family = &next;
    headWritten = false;
}

void Exposition::WriteHead() {
    // OpenMetrics calls the family by its series' name without what the type appends.
    constexpr const char *kTypes[] = {"gauge", "counter", "info"};
    constexpr std::string_view kSuffixes[] = {"", "_total", "_info"};
    std::string_view name = family->name;
    const char *type = kTypes[family->type];
    if (format == Format::OpenMetrics) {
        name.remove_suffix(kSuffixes[family->type].size());
    } else if (family->type == Family::Info) {
        type = kTypes[Family::Gauge];
    }
    fmt::format_to(std::back_inserter(text), "# HELP {} {}\n# TYPE {} {}\n", name, family->help, name, type);
    for (const std::string_view unit : kUnits) {
        if (format == Format::OpenMetrics && EndsWith(name, unit))
            text.append(fmt::format("# UNIT {} {}\n", name, unit));
    }
    headWritten = true;
}

void Exposition::Add(std::string_view labels, double value) {
    if (!headWritten) WriteHead();
    text += family->name;
    if (!labels.empty()) text.append("{").append(labels).append("}");
    fmt::format_to(std::back_inserter(text), " {}\n", value);
}

// Most series are such.
void Exposition::AddStates(std::string_view labels, const States &states, std::size_t now) {
    if (!headWritten) WriteHead();
    start.assign(family->name).append("{").append(labels);
    for (std::size_t i = 0; i < states.ends.size(); ++i) {
        text.append(start).append(states.ends[i]);
        if (i == now) text[text.size() - 2] = '1';
    }
}

std::string Exposition::End() && {
    if (format == Format::OpenMetrics) text += "# EOF\n";
    return std::move(text);
}

} // namespace cim::metrics
