// What is said of a server in tables, lines and JSON and to a monitoring system. views/NAME.json has servers and the
// views wanted of them, views/NAME.txt what they say.
#include "cim/inventory/Changes.h"
#include "cim/inventory/Check.h"
#include "cim/inventory/Gone.h"
#include "cim/inventory/Tables.h"
#include "cim/inventory/Verdict.h"
#include "tests/support/Golden.h"
#include "tests/support/ServedInstances.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>

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

std::string TablesView(const Json &server, const Json &options) {
    const Inventory inventory = Describe(Read(server));
    std::set<std::string> changed;
    TablesOptions tables{options.value("sample", false), Only(options), {}, options.value("height", 0u), nullptr};
    tables.text = {options.value("colour", false), options.value("width", 0u)};
    if (options.contains("changed")) {
        changed = options["changed"].get<std::set<std::string>>();
        tables.changed = &changed;
    }
    return RenderTables(inventory, tables);
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
    Json document = ToJson(Describe(Read(server)), {0, options.value("sample", false)}, Only(options));
    for (const char *varies : {"time", "version"}) EXPECT_EQ(document.erase(varies), 1u) << varies;
    return Dump(document, 1) + "\n";
}

// After each of the steps, which are JSON patches; a step is a second.
std::string GoneView(const Json &before, const Json &steps) {
    Memory memory;
    Json server = before;
    std::string text;
    for (std::time_t now = 0; now <= static_cast<std::time_t>(steps.size()); ++now) {
        if (now > 0) server = server.patch(steps[static_cast<std::size_t>(now) - 1]);
        memory.Note(Describe(Read(server)), now);
        text += std::to_string(now) + ":\n";
        for (const Gone &gone : memory.All()) {
            const std::string reason = ReasonOf(gone);
            text += "  " + gone.name + ", gone since " + std::to_string(gone.since) +
                    reason.substr(std::min(reason.find(','), reason.size())) + "\n";
        }
    }
    return text;
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
    if (what == "gone") return GoneView(server, options.at("steps"));
    if (what == "facts") return FactsView(server);
    if (what == "json") return JsonView(server, options);
    return ChangesView(server, servers.at("after"), options);
}

class Views : public testing::TestWithParam<std::string> {};

TEST_P(Views, AreAsExpected) {
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
                         testing::Values("kinds", "states", "captions", "odd", "missing", "changes", "gone"));

TEST(Verdict, TheRulesAndWhatCannotBeChecked) {
    support::ExpectGolden(kViews / "rules.txt", RulesTable());
    EXPECT_EQ(CannotCheck("http://x: a | b\n").output, "UNKNOWN: http://x: a / b?\n");
    EXPECT_EQ(CannotCheck("gone", Severity::Critical).output, "CRITICAL: gone\n");
}

TEST(Changes, ATimeTellsItsDistanceFromUtc) {
    const char *set = std::getenv("TZ");
    const std::string former = set != nullptr ? set : "";
    const auto in = [](const char *zone) {
        setenv("TZ", zone, 1);
        tzset();
        return TimeWithOffset(1767607331);
    };
    EXPECT_EQ(in("UTC"), "2026-01-05T10:02:11+00:00");
    EXPECT_EQ(in("XXX+3:30"), "2026-01-05T06:32:11-03:30");
    set != nullptr ? setenv("TZ", former.c_str(), 1) : unsetenv("TZ");
    tzset();
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
