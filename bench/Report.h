// What was measured, and how it compares with what is wanted.
#pragma once

#include "bench/Hardware.h"

#include <map>
#include <string>
#include <vector>

namespace bench {

struct Target {
    enum class Kind { AtMost, AtLeast, None } kind = Kind::None;
    double value = 0;
};
constexpr Target AtMost(double value) { return {Target::Kind::AtMost, value}; }
constexpr Target AtLeast(double value) { return {Target::Kind::AtLeast, value}; }
constexpr Target kReported = {};

struct Figure {
    std::string name;
    double measured;
    std::string unit; // empty: a ratio
    Target target;

    bool Met() const;
    std::string Verdict() const; // "met", "not met", or "reported"
};

class Report {
public:
    // Samples, by name. The median of a name that was never measured is an error.
    void Add(const std::string &name, double sample) { samples[name].push_back(sample); }
    double Median(const std::string &name) const { return Percentile(name, 50); }
    double Percentile(const std::string &name, double percent) const;
    // The median of the ratios of samples that were taken together; of several names the samples' product counts.
    using Names = std::vector<std::string>;
    double MedianRatio(const Names &of, const Names &over) const;
    double MedianRatio(const std::string &of, const std::string &over) const {
        return MedianRatio(Names{of}, Names{over});
    }

    // Figures, in the order of the table.
    void Put(const std::string &name, double measured, const Target &target, const std::string &unit = {});
    void Ratio(const std::string &name, const std::string &of, const std::string &over, const Target &target) {
        Put(name, MedianRatio(of, over), target);
    }

    bool AllMet() const;
    std::string Table() const; // Markdown, and columns to the eye, under a line about the machine
    Json ToJson() const;

private:
    const std::vector<double> &Samples(const std::string &name) const;

    std::map<std::string, std::vector<double>> samples;
    std::vector<Figure> figures;
};

// The machine as the figures need it: processor, cores, system, compiler, day.
Json Machine();

} // namespace bench
