// What is said of a server in tables, lines and JSON and to a monitoring system. views/NAME.json has servers and the
// views wanted of them, views/NAME.txt what they say.
#include "cim/inventory/Changes.h"
#include "cim/inventory/Check.h"
#include "cim/inventory/Gone.h"
#include "cim/inventory/Overview.h"
#include "cim/inventory/Selection.h"
#include "cim/inventory/Tables.h"
#include "cim/inventory/Verdict.h"
#include "tests/support/Golden.h"
#include "tests/support/ServedInstances.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <optional>

namespace cim {
namespace {

namespace fs = std::filesystem;

const fs::path kViews = fs::path(QUARNEL_TEST_SOURCES) / "views";

Instances Read(const Json &server) {
    Instances instances = support::InstancesOf(server);
    PutInOrder(instances);
    return instances;
}

const ServedClass *Only(const Json &options) { return FindServedClass(options.value("class", std::string())); }

struct Selected {
    Selected(const Json &server, const Json &options) : whole(Describe(Read(server))) {
        selection.problems = options.value("problems", false);
        selection.controllers = options.value("controllers", std::vector<std::string>());
        selection.enclosures = options.value("enclosures", std::vector<std::string>());
        if (options.contains("place")) SortByPlace(whole);
        part = Select(whole, selection);
    }
    Selection selection;
    Inventory whole, part;
};

std::string TablesView(const Json &server, const Json &options) {
    const Selected selected(server, options);
    const std::string mistake = MistakeIn(selected.selection, selected.whole);
    if (!mistake.empty()) return mistake + "\n";
    std::set<std::string> changed;
    TablesOptions tables;
    tables.sample = options.value("sample", false);
    tables.only = Only(options);
    if (!selected.selection.IsAll()) tables.whole = &selected.whole;
    tables.text = {options.value("colour", false), options.value("width", 0u)};
    if (options.contains("changed")) {
        changed = options["changed"].get<std::set<std::string>>();
        tables.changed = &changed;
    }
    return RenderTables(selected.part, tables);
}

std::string CheckView(const Json &server, const Json &options) {
    CheckRules rules;
    rules.only = Only(options);
    rules.ignored = options.value("ignore", std::vector<std::string>());
    const Json expected = options.value("expect", Json::object());
    for (const auto &[kind, count] : expected.items()) rules.expected[FindServedClass(kind)->index] = count;
    Leniency leniency;
    if (options.contains("rebuild")) leniency.rebuild = Severity::Ok;
    rules.sample = options.value("sample", false);
    rules.verbose = options.value("verbose", false);
    const auto result = Check(Describe(Read(server), leniency), rules, options.value("unread", std::string()));
    return std::to_string(ExitStatusOf(result.severity)) + " " + result.output;
}

std::string ChangesView(const Json &before, const Json &after, const Json &options) {
    const Inventory former = Describe(Read(before)), latter = Describe(Read(after));
    std::string text;
    for (const auto &change : Compare(former, latter, Only(options))) {
        text += options.value("json", false) ? Dump(ToJson(change, "NOW"), 1) + "\n" : ToText(change, "NOW");
    }
    return text;
}

std::string JsonView(const Json &server, const Json &options) {
    const Selected selected(server, options);
    Json document = ToJson(selected.part, {0, options.value("sample", false), 0, &selected.whole}, Only(options));
    for (const char *varies : {"time", "version"}) EXPECT_EQ(document.erase(varies), 1u) << varies;
    return Dump(document, 1) + "\n";
}

// After each of the steps, which are JSON patches; a step is a second, or as long as "every" says.
std::string AfterSteps(const Json &before, const Json &options,
                       const std::function<std::string(const Inventory &, const Memory &)> &show) {
    Memory memory(options.contains("forget") ? std::optional<double>(options["forget"]) : std::nullopt);
    Json server = before;
    std::string text;
    for (std::size_t step = 0; step <= options.at("steps").size(); ++step) {
        if (step > 0) server = server.patch(options["steps"][step - 1]);
        const Inventory now = Describe(Read(server));
        const auto time = static_cast<std::time_t>(step) * options.value("every", 1);
        memory.Note(now, time);
        text += std::to_string(time) + ":\n" + show(now, memory);
    }
    return text;
}

std::string GoneView(const Json &server, const Json &options) {
    return AfterSteps(server, options, [](const Inventory &, const Memory &memory) {
        std::string text;
        for (const Gone &gone : memory.All()) text += "  " + gone.name + ", " + ReasonOf(gone) + "\n";
        return text;
    });
}

std::string OverviewView(const Json &server, const Json &options) {
    return AfterSteps(server, options, [&options](const Inventory &now, const Memory &memory) {
        std::string text;
        for (const auto &[width, height] : options["sizes"].get<std::vector<std::pair<unsigned, unsigned>>>()) {
            TablesOptions tables;
            tables.only = Only(options);
            tables.sample = options.value("sample", false);
            tables.text = {options.value("colour", false), width};
            text += "-- " + std::to_string(width) + " by " + std::to_string(height) + "\n" +
                    RenderOverview(now, memory, tables, height);
        }
        return text;
    });
}

std::string FactsView(const Json &server) {
    std::string text;
    for (const auto &items : Describe(Read(server))) {
        for (const Item &item : items) text += item.id + " " + Dump(FactsOf(item), -1) + "\n";
    }
    return text;
}

std::string View(const Json &servers, const std::string &what, const Json &options) {
    const Json &server = servers.at(options.value("of", std::string("server")));
    if (what == "tables") return TablesView(server, options);
    if (what == "check") return CheckView(server, options);
    if (what == "gone") return GoneView(server, options);
    if (what == "overview") return OverviewView(server, options);
    if (what == "facts") return FactsView(server);
    if (what == "json") return JsonView(server, options);
    return ChangesView(server, servers.at("after"), options);
}

class Views : public testing::TestWithParam<std::string> {};

TEST_P(Views, AreAsExpected) {
    setenv("TZ", "UTC", 1);
    tzset();
    std::ifstream file(kViews / (GetParam() + ".json"));
    const Json servers = Json::parse(file);
    std::string text;
    for (const Json &wanted : servers.at("views")) {
        text += "== " + wanted.dump() + "\n" + View(servers, wanted.begin().key(), wanted.front()) + "\n";
    }
    for (std::size_t at; (at = text.find('\033')) != std::string::npos;) text.replace(at, 1, "<ESC>");
    support::ExpectGolden(kViews / (GetParam() + ".txt"), text);
}

INSTANTIATE_TEST_SUITE_P(Inventory, Views,
                         testing::Values("kinds", "states", "captions", "odd", "missing", "changes", "gone",
                                         "overview"));

TEST(Verdict, TheRulesAndWhatCannotBeChecked) {
    support::ExpectGolden(kViews / "rules.txt", RulesTable());
    EXPECT_EQ(CannotCheck("http://x: a | b\n").output, "UNKNOWN: http://x: a / b?\n");
    EXPECT_EQ(CannotCheck("gone", Severity::Critical).output, "CRITICAL: gone\n");
}

TEST(Changes, ATimeTellsItsDistanceFromUtc) {
    const auto in = [](const char *zone) {
        setenv("TZ", zone, 1);
        tzset();
        return TimeWithOffset(1767607331);
    };
    EXPECT_EQ(in("UTC"), "2026-01-05T10:02:11+00:00");
    EXPECT_EQ(in("XXX+3:30"), "2026-01-05T06:32:11-03:30");
}

TEST(Json, ValuesHaveTheirNaturalTypes) {
    ObjectPath path{{}, "root/cimv2", "CIM_X", {{"Name", Value::Text("a\"b")}}};
    const std::pair<Value, const char *> cases[] = {
        {Value::Boolean(true), "true"},
        {Value::Unsigned(CMPI_uint64, std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
        {Value::Signed(CMPI_sint64, std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {Value::Unsigned(CMPI_char16, 'A'), "\"A\""},
        {Value::Unsigned(CMPI_char16, 0xE4), "\"\u00e4\""},
        {Value::Unsigned(CMPI_char16, 0x20AC), "\"\u20ac\""},
        {Value::Unsigned(CMPI_char16, 0xD800), "\"\ufffd\""},
        {Value::Real(CMPI_real64, 0.5), "0.5"},
        {Value::Text("line\n"), "\"line\\n\""},
        {Value::Text("\xc3("), "\"\ufffd(\""}, // not UTF-8
        {Value::DateTime("20260105100211.000000+060"), "\"20260105100211.000000+060\""},
        {Value::Null(CMPI_string), "null"},
        {Value::ArrayOf(CMPI_string, {}), "[]"},
        {Value::Reference(path), R"("root/cimv2:CIM_X.Name=\"a\\\"b\"")"},
    };
    for (const auto &[value, json] : cases) EXPECT_EQ(Dump(ToJson(value), -1), json);
}

} // namespace
} // namespace cim
