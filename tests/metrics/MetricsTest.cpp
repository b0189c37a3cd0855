// What is said of a server. servers/NAME.json has a server and what becomes of it by the next look, NAME.prom and
// NAME.om are what is said then.
#include "cim/metrics/Metrics.h"
#include "tests/metrics/Judges.h"
#include "tests/support/DescribedHardware.h"
#include "tests/support/Golden.h"
#include "tests/support/ServedInstances.h"

#include <regex>

namespace cim::metrics {
namespace {

const std::string kSources = QUARNEL_TEST_SOURCES;

Inventory Read(const Json &server) { return Describe(support::InstancesOf(server)); }

class Servers : public testing::TestWithParam<const char *> {};

TEST_P(Servers, AreToldInBothFormats) {
    std::ifstream file(kSources + "/servers/" + GetParam() + ".json");
    const Json told = Json::parse(file);
    const Inventory before = Read(told["server"]), now = Read(told["server"].patch(told["then"]));
    Memory memory;
    Look look;
    memory.Note(before, 1767607331);
    look.times.Note(before, {}, 1767607331);
    memory.Note(now, 1767607346);
    look.times.Note(now, Compare(before, now, nullptr), 1767607346);
    look.up = told["up"];
    look.duration = std::chrono::milliseconds(12);
    look.past = Past{2, told["up"] ? 0u : 1u, &memory.All()};
    for (const auto &[format, ending] : {std::pair(Format::Text, ".prom"), std::pair(Format::OpenMetrics, ".om")}) {
        const std::string text =
            std::regex_replace(Render(now, look, format), std::regex("\\{version=\".*\""), "{version=\"...\"");
        support::ExpectGolden(kSources + "/servers/" + GetParam() + ending, text);
        ExpectAccepted(text, format);
    }
}

INSTANTIATE_TEST_SUITE_P(Metrics, Servers, testing::Values("small", "odd", "failed"));

TEST(Metrics, TheDocumentHasTheirNumberAndEachOfThem) {
    const auto broker = support::Host(SampleHardware("storage-node.json"));
    const Inventory inventory = Describe(ReadInstances(*broker).value);
    const std::size_t counts[] = {2, 2, 7, 84, 20, 2};
    for (std::size_t i = 0; i < inventory.size(); ++i) EXPECT_EQ(inventory[i].size(), counts[i]);
    Look look;
    look.up = true;
    const Memory memory;
    look.past = Past{0, 0, &memory.All()};
    look.times.Note(inventory, {}, 1);
    const std::string text = Render(inventory, look, Format::Text);
    EXPECT_NE(text.find("\nquarnel_first_reading_finished 1\n"), std::string::npos);
    ExpectAccepted(text, Format::Text);
    ExpectAccepted(Render(inventory, look, Format::OpenMetrics), Format::OpenMetrics);

    std::ifstream file(kSources + "/../../docs/metrics.md");
    const std::string document(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(document.find("**" + std::to_string(SeriesIn(text)) + " series**"), std::string::npos) << SeriesIn(text);
    const std::regex head("# TYPE (\\S+) (\\S+)");
    for (std::sregex_iterator family(text.begin(), text.end(), head), end; family != end; ++family)
        EXPECT_NE(document.find("\n| `" + family->str(1) + "` |"), std::string::npos) << family->str(1);
}

TEST(Exposition, LabelsHoldWhatVendorsSay) {
    const std::string full(256, 'a'), most(255, 'a');
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"Acme R8i", "Acme R8i"},
        {"\",hw_state=\"ok\"} 1\nforged 1\n\\", R"(\",hw_state=\"ok\"} 1\nforged 1\n\\)"},
        {"\xff(\xc3", "\ufffd(\ufffd"},
        {std::string("\0\033\t", 3), "\ufffd\ufffd\t"},
        {full + "b", full},
        {most + "\u00e4", most},
        {std::string(300, '"'),
         [] {
             std::string quotes;
             for (int i = 0; i < 256; ++i) quotes += "\\\"";
             return quotes;
         }()},
        {std::string(300, '\xff'),
         [] {
             std::string replaced;
             for (int i = 0; i < 85; ++i) replaced += "\ufffd";
             return replaced;
         }()},
    };
    for (const Format format : {Format::Text, Format::OpenMetrics}) {
        Exposition text(format, 0);
        const Family family{Family::Gauge, "x", "Odd."};
        text.Begin(family);
        for (std::size_t i = 0; i < std::size(cases); ++i) {
            std::string labels;
            AddLabel(labels, "name", cases[i].first);
            EXPECT_EQ(labels, i == 0 ? "" : "name=\"" + cases[i].second + "\"");
            AddLabel(labels, "n", std::to_string(i)); // no two series are the same
            text.Add(labels, 0.5);
        }
        ExpectAccepted(std::move(text).End(), format);
    }
}

TEST(Exposition, TheFormatIsTheClientsChoice) {
    const std::pair<const char *, Format> cases[] = {
        {"", Format::Text},
        {"*/*", Format::Text},
        {"application/openmetrics-text", Format::OpenMetrics},
        {"text/plain, application/openmetrics-text", Format::OpenMetrics},
        {"application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;q=0.75,"
         "text/plain;version=0.0.4;q=0.5,*/*;q=0.1",
         Format::OpenMetrics},
        {"text/plain;version=0.0.4, Application/OpenMetrics-Text; Version=1.0.0 ; Q=0.9", Format::Text},
        {"application/openmetrics-text; version=0.0.1, text/plain;q=0.1", Format::Text},
        {"application/openmetrics-text;q=0.1, */*;q=0.01", Format::OpenMetrics},
        {"application/openmetrics-text;q=0", Format::Text},
        {"application/openmetrics-text;q=x;;=,,;", Format::Text},
    };
    for (const auto &[accept, format] : cases) EXPECT_EQ(FormatFor(accept), format) << accept;
}

} // namespace
} // namespace cim::metrics
