#include "bench/Report.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace bench {
namespace {

std::string Shown(double number) {
    const double size = std::fabs(number);
    if (size >= 100) return fmt::format("{:.0f}", number);
    if (size >= 10) return fmt::format("{:.1f}", number);
    return fmt::format("{:.2f}", number);
}

std::string Shown(double number, const std::string &unit) { return Shown(number) + (unit.empty() ? "" : " " + unit); }

std::string Shown(const Target &target, const std::string &unit) {
    switch (target.kind) {
    case Target::Kind::AtMost:
        return "≤ " + Shown(target.value, unit);
    case Target::Kind::AtLeast:
        return "≥ " + Shown(target.value, unit);
    case Target::Kind::None:
        break;
    }
    return "reported";
}

// Of a text in UTF-8: characters, not bytes.
std::size_t Width(const std::string &text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

using Row = std::vector<std::string>;

std::string Line(const Row &row, const std::vector<std::size_t> &widths) {
    std::string line = "|";
    for (std::size_t i = 0; i < row.size(); ++i)
        line += " " + row[i] + std::string(widths[i] - Width(row[i]), ' ') + " |";
    return line + "\n";
}

// Between the two samples that the percentage falls between.
double PercentileOf(std::vector<double> list, double percent) {
    std::sort(list.begin(), list.end());
    const double place = percent / 100 * static_cast<double>(list.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, list.size() - 1);
    return list[below] + (list[above] - list[below]) * (place - static_cast<double>(below));
}

// What follows `separator` in the first line of the file that begins so.
std::string Found(const char *file, const char *begin, const char *separator) {
    std::ifstream info(file);
    for (std::string line; std::getline(info, line);)
        if (line.rfind(begin, 0) == 0) return line.substr(line.find(separator) + std::strlen(separator));
    return "unknown";
}

std::string Today() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()); // not the tests'
    return fmt::format("{:%Y-%m-%d}", fmt::gmtime(now));
}

} // namespace

bool Figure::Met() const {
    switch (target.kind) {
    case Target::Kind::AtMost:
        return measured <= target.value;
    case Target::Kind::AtLeast:
        return measured >= target.value;
    case Target::Kind::None:
        break;
    }
    return true;
}

std::string Figure::Verdict() const {
    if (target.kind == Target::Kind::None) return "";
    return Met() ? "met" : "not met";
}

const std::vector<double> &Report::Samples(const std::string &name) const {
    const auto found = samples.find(name);
    if (found == samples.end()) throw std::logic_error(name + " was not measured");
    return found->second;
}

double Report::Percentile(const std::string &name, double percent) const {
    return PercentileOf(Samples(name), percent);
}

double Report::MedianRatio(const Names &of, const Names &over) const {
    std::vector<double> ratios(Samples(of.front()).size(), 1);
    const auto each = [&](const Names &names, auto apply) {
        for (const std::string &name : names) {
            const std::vector<double> &list = Samples(name);
            if (list.size() != ratios.size()) throw std::logic_error(name + " was not taken together with the others");
            std::transform(list.begin(), list.end(), ratios.begin(), ratios.begin(), apply);
        }
    };
    each(of, [](double sample, double ratio) { return ratio * sample; });
    each(over, [](double sample, double ratio) { return ratio / sample; });
    return PercentileOf(ratios, 50);
}

void Report::Put(const std::string &name, double measured, const Target &target, const std::string &unit) {
    figures.push_back({name, measured, unit, target});
}

bool Report::AllMet() const {
    return std::all_of(figures.begin(), figures.end(), [](const Figure &figure) { return figure.Met(); });
}

std::string Report::Table() const {
    std::vector<Row> rows = {{"figure", "measured", "target", "met"}};
    for (const Figure &figure : figures)
        rows.push_back(
            {figure.name, Shown(figure.measured, figure.unit), Shown(figure.target, figure.unit), figure.Verdict()});
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row &row : rows)
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Width(row[i]));
    Row rule;
    for (const std::size_t width : widths) rule.push_back(std::string(width, '-'));
    rows.insert(rows.begin() + 1, rule);
    const Json machine = Machine();
    std::string table = fmt::format("{}, {} cores, {}, {}; {}.\n\n", machine["processor"].get<std::string>(),
                                    machine["cores"].get<unsigned>(), machine["system"].get<std::string>(),
                                    machine["compiler"].get<std::string>(), machine["day"].get<std::string>());
    for (const Row &row : rows) table += Line(row, widths);
    return table;
}

Json Report::ToJson() const {
    Json json = {{"machine", Machine()}, {"figures", Json::array()}, {"samples", Json::object()}};
    for (const Figure &figure : figures) {
        Json entry = {{"name", figure.name}, {"measured", figure.measured}};
        if (!figure.unit.empty()) entry["unit"] = figure.unit;
        if (figure.target.kind != Target::Kind::None) {
            entry[figure.target.kind == Target::Kind::AtMost ? "atMost" : "atLeast"] = figure.target.value;
            entry["met"] = figure.Met();
        }
        json["figures"].push_back(entry);
    }
    for (const auto &[name, list] : samples)
        json["samples"][name] = {{"count", list.size()},
                                 {"median", Median(name)},
                                 {"lower quartile", Percentile(name, 25)},
                                 {"upper quartile", Percentile(name, 75)}};
    return json;
}

Json Machine() {
    return {{"processor", Found("/proc/cpuinfo", "model name", ": ")},
            {"cores", std::thread::hardware_concurrency()},
            {"system", "Debian " + Found("/etc/debian_version", "", "")},
            {"compiler", "g++ " __VERSION__},
            {"day", Today()}};
}

} // namespace bench
