#include "tests/provider/Model.h"

#include "tests/support/Golden.h"

#include <cstring>
#include <set>
#include <sstream>

// Takes the C library's place for the provider of the host system.
extern "C" int gethostname(char *name, size_t size) noexcept {
    std::strncpy(name, "host", size);
    return 0;
}

namespace support {
namespace {

std::string Beside(const std::string &name) { return std::string(TEST_SOURCES) + "/" + name; }

Hardware Whole() {
    Hardware hardware;
    std::ifstream(Beside("whole.json")) >> hardware.document;
    return hardware;
}

// The vendor has a host system, too.
BenchOptions TwoHosts() {
    BenchOptions options;
    options.classes = "class Sim_SecondHost : OMC_UnitaryComputerSystem {};";
    options.registrations =
        "[Sim_SecondHost]\n provider: SimHHRCProvider\n location: SimHHRCProvider\n type: instance\n"
        " namespace: root/cimv2\n";
    return options;
}

// One that the log tells of: a line "VolumeOp: path", then lines "\tName - value", one of which identifies it.
void AddRecord(Facts &facts, const std::string &told) {
    std::istringstream lines(told);
    std::string kind, id;
    Facts fields;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.find_first_of(" :"), value = line.find_first_not_of(" :-", end);
        if (value == std::string::npos) continue;
        const std::string name = line.substr(line[0] == '\t' ? 1 : 0, end - (line[0] == '\t' ? 1 : 0));
        if (kind.empty()) kind = name;
        if (name == "DeviceID" || name == "InstanceID" || name == "Tag") id = line.substr(value);
        fields[name] = line.substr(value);
    }
    for (const auto &[name, value] : fields) facts[kind + " " + id + "." + name] = value;
}

bool IsCaptionAgain(const cim::Instance &instance, const cim::NamedValue &property) {
    return property.name.Text() == "ElementName" && Shown(&property.value) == Shown(instance, "Caption");
}

std::string SubjectOf(const std::string &fact) { return fact.substr(0, fact.find('.')); }

std::set<std::string> SubjectsOf(const Facts &facts) {
    std::set<std::string> subjects;
    for (const auto &fact : facts) subjects.insert(SubjectOf(fact.first));
    return subjects;
}

} // namespace

WholeBench::WholeBench() : LinkedBench(Whole(), TwoHosts()) {}

void WholeBench::Live() {
    TestClock::Advance(3600);
    ASSERT_EQ(Broker().AskToUnload(kProvider), CMPI_RC_OK);
    LogCapture::Clear();
    Start();
    RefreshAll();
}

void WholeBench::RefreshAll() {
    TestClock::Advance(StateUpdateInterval);
    for (const char *className : {kVolume, kPort, kBattery}) Refresh(className);
}

Facts FactsOf(LinkedBench &bench) {
    Facts facts;
    for (const LogLine &line : LogCapture::Lines())
        if (line.text.rfind("\n", 0) == 0) AddRecord(facts, line.text.substr(1));
    for (const char *className : kServedClasses) {
        for (const cim::Instance &instance : bench.Enumerate(className)) {
            const std::string id = Shown(instance.path->Key(IdentifyingKey(className)));
            for (const cim::NamedValue &property : instance.properties)
                if (!property.value.IsNull() && !IsCaptionAgain(instance, property))
                    facts[std::string(className).substr(std::strlen("Zembra_Quarnel")) + " " + id + "." +
                          property.name.Text()] = Shown(&property.value);
        }
    }
    return facts;
}

std::string Changes(const Facts &before, const Facts &after) {
    std::set<std::string> changes;
    const std::set<std::string> was = SubjectsOf(before), is = SubjectsOf(after);
    for (const auto &[name, value] : before) {
        const auto now = after.find(name);
        if (is.count(SubjectOf(name)) == 0)
            changes.insert("no " + SubjectOf(name));
        else if (now == after.end() || now->second != value)
            changes.insert(name + " " + value + " -> " + (now != after.end() ? now->second : "nothing"));
    }
    for (const auto &[name, value] : after)
        if (before.count(name) == 0)
            changes.insert("new " + (was.count(SubjectOf(name)) == 0 ? SubjectOf(name) : name + " " + value));
    std::string all;
    for (const std::string &change : changes) all += (all.empty() ? "" : "; ") + change;
    return all.empty() ? "nothing changes" : all;
}

void ExpectFile(const std::string &name, const std::string &text) { ExpectGolden(Beside(name), text); }

} // namespace support
