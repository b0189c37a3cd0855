// Programs that were not written here read the metrics.
#pragma once

#include "cim/metrics/Exposition.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace cim::metrics {

inline long SeriesIn(const std::string &text) {
    long series = 0;
    for (std::size_t line = 0; line < text.size(); line = text.find('\n', line) + 1) series += text[line] != '#';
    return series;
}

// promtool has nothing to say of the one format; the reference parser of the other finds all series.
inline void ExpectAccepted(const std::string &text, Format format) {
    const support::TemporaryFolder folder;
    const std::string file = folder.Write("metrics", text);
    const char *parser =
        "import sys; from prometheus_client.openmetrics.parser import text_fd_to_metric_families as read\n"
        "with open(sys.argv[1], newline='\\n') as file: print(sum(len(f.samples) for f in read(file)))";
    const auto outcome = format == Format::Text ? RunToEnd("sh", {"-c", "promtool check metrics < " + file})
                                                : RunToEnd("/usr/bin/python3", {"-c", parser, file});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, format == Format::Text ? "" : std::to_string(SeriesIn(text)) + "\n") << text;
}

} // namespace cim::metrics
