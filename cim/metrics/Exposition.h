// Series as Prometheus reads them: its text format 0.0.4, or OpenMetrics 1.0. A series has the same name and labels in
// both.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace cim::metrics {

enum class Format { Text, OpenMetrics };
const char *ContentTypeOf(Format format);

// By an Accept header: OpenMetrics when it is named there and preferred to plain text, or no less wanted.
Format FormatFor(std::string_view accept);

struct Family {
    enum Type { Gauge, Counter, Info } type;
    const char *name; // its series'; that of a counter ends in _total, of an info in _info
    const char *help;
};

// Longer values are cut between two characters.
constexpr std::size_t kLongestLabelValue = 256;

// Appends NAME="VALUE" with the value made valid UTF-8, cut and escaped. An empty value is left out: to Prometheus a
// label without a value is not there.
void AddLabel(std::string &labels, const char *name, std::string_view value);

// The labels by which the series of a thing's states differ, put together once for all things.
class States {
public:
    void Add(std::string_view labels) { ends.push_back(std::string(",").append(labels).append("} 0\n")); }

private:
    friend class Exposition;
    std::vector<std::string> ends; // of the states' lines
};

class Exposition {
public:
    Exposition(Format written, std::size_t expectedBytes) : format(written) { text.reserve(expectedBytes); }

    // What is added next are its series. A family without any does not appear.
    void Begin(const Family &next);
    // `labels` as AddLabel makes them.
    void Add(std::string_view labels, double value);
    // A series for each state: 1 for the one of that index, 0 for the others.
    void AddStates(std::string_view labels, const States &states, std::size_t now);

    std::string End() &&;

private:
    void WriteHead();

    const Format format;
    const Family *family = nullptr;
    bool headWritten = false;
    std::string text;
    std::string start; // of a thing's lines
};

} // namespace cim::metrics
