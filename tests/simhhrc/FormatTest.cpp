// Each mistake that a description can have is refused with its line and its reason; what the project ships and
// documents has none.
#include "tests/simhhrc/Vendor.h"

#include "cim/simhhrc/Description.h"
#include "tests/support/Golden.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace vendor {
namespace {

using sim::Description;
using sim::ReadDescription;

// A line that begins with "controller: " or "disk: " opens the members of such an entry, which has what it needs.
std::string Completed(const std::string &text) {
    const std::string controller = R"({"controllers": [{"id": "c0", "enclosures": [{"id": "e", "slots": 4}],)"
                                   "\n"
                                   R"("pools": [{"id": "free", "primordial": true}, {"id": "p"}],)"
                                   "\n";
    if (text.rfind("controller: ", 0) == 0) return controller + text.substr(12) + "}]}";
    if (text.rfind("disk: ", 0) == 0) return controller + R"("disks": [{"id": "d", )" + text.substr(6) + "}]}]}";
    return text;
}

// The file has paragraphs: the line and reason, then the text that has the mistake.
TEST(Format, MistakesAreRefusedWithLineAndReason) {
    std::istringstream file(TextOf("mistakes.txt"));
    std::size_t cases = 0;
    for (std::string reason, line; std::getline(file, reason); ++cases) {
        std::string text, error;
        while (std::getline(file, line) && !line.empty()) text += line + "\n";
        EXPECT_FALSE(ReadDescription(Completed(text), "hw.json", nullptr, &error)) << text;
        EXPECT_EQ(error, "hw.json:" + reason) << text;
    }
    EXPECT_GT(cases, 90u);
}

TEST(Format, AFileThatCannotBeReadIsNamed) {
    std::string error;
    EXPECT_FALSE(sim::LoadDescription("/nowhere/hw.json", nullptr, &error));
    EXPECT_EQ(error, "/nowhere/hw.json: cannot be read: No such file or directory");
    EXPECT_FALSE(sim::LoadDescription("/", nullptr, &error));
    EXPECT_EQ(error, "/: cannot be read: Is a directory");
}

TEST(Format, AMistakeLeavesTheDescriptionAsItWas) {
    Description description;
    ASSERT_TRUE(ReadDescription(Completed("controller: \"model\": \"x\""), "hw.json", &description, nullptr));
    const std::size_t objects = description.graph.Nodes().size();
    EXPECT_FALSE(ReadDescription("{", "hw.json", &description, nullptr));
    EXPECT_EQ(description.graph.Nodes().size(), objects);
}

TEST(Format, TheDocumentationsExamplesAreGood) {
    const std::string text = TextOf("../../docs/hardware-description.md");
    int examples = 0;
    for (std::size_t at = 0; (at = text.find("```json\n", at)) != std::string::npos; ++examples) {
        const std::size_t start = at + 8, end = text.find("```", start);
        std::string error;
        EXPECT_TRUE(ReadDescription(text.substr(start, end - start), "example", nullptr, &error)) << error;
        at = end;
    }
    EXPECT_EQ(examples, 2);
}

// How many instances of each class have which states.
TEST_F(Vendor, SamplesHaveTheHardwareTheyAreKnownFor) {
    std::string summary;
    for (const char *sample : {"rack-server", "storage-node"}) {
        Describe(TextOf("../../hardware/" + std::string(sample) + ".json"));
        std::map<std::string, int> counts;
        for (const cim::Instance &each : Instances("CIM_ManagedElement")) {
            std::string text = each.path->className;
            for (const char *property : {"OperationalStatus", "ExtentStatus"})
                if (each.Property(property) != nullptr) text += ' ' + support::Shown(each, property);
            ++counts[text];
        }
        summary += std::string(sample) + "\n";
        for (const auto &[text, count] : counts) summary += "  " + std::to_string(count) + ' ' + text + '\n';
    }
    support::ExpectGolden(SOURCE_FOLDER "/samples.txt", summary);
    EXPECT_TRUE(support::NotLogged(LOG_ERR, "*"));
    EXPECT_TRUE(support::NotLogged(LOG_WARNING, "*"));
}

} // namespace
} // namespace vendor
