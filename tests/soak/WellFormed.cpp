#include "tests/soak/WellFormed.h"

#include "tests/support/LogCapture.h"
#include "tests/support/Values.h"

#include <algorithm>
#include <sstream>
#include <unistd.h>

namespace support {
namespace {

using Words = std::vector<std::string>;

// In captions {c} and {d} are the controller's and the device's IDs as the identifier has them, {n} the device's
// number. A disk goes by its ID for as long as enclosures are not read: a refresh can be quicker than the first build
// of all controllers but the first.
const struct Form {
    const char *className, *prefix;
    Words captions; // patterns
    Words foulCaptions;
    Words keys;
    Words properties; // besides keys
    Words optional;   // in foul weather
} kForms[] = {
    {kController,
     "zbrController",
     {"Controller {c} (R8i)"},
     {"Controller {c} (*)"},
     {"CreationClassName", "Name"},
     {"Caption", "ElementName", "OperationalStatus", "HealthState", "IdentifyingDescriptions", "OtherIdentifyingInfo",
      "Dedicated", "NameFormat"},
     {"OperationalStatus", "IdentifyingDescriptions", "OtherIdentifyingInfo", "Dedicated"}},
    {kSoftware,
     "zembra:ControllerSoftware",
     {"Controller {c} (R8i)"},
     {"Controller {c} (*)"},
     {"InstanceID"},
     {"Caption", "ElementName", "IsEntity", "VersionString"},
     {}},
    {kVolume,
     "zbrStorageVolume",
     {"RAID5 name* Logical Volume {d} on controller {c}, Drives(*) - *"},
     {"*Logical Volume {d} on controller {c}* - *"},
     {"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"},
     {"Caption", "ElementName", "OperationalStatus", "HealthState", "NameFormat", "Name", "NameNamespace", "BlockSize",
      "NumberOfBlocks", "ConsumableBlocks", "IsBasedOnUnderlyingRedundancy", "NoSinglePointOfFailure", "DataRedundancy",
      "DeltaReservation", "Primordial", "ExtentStatus"},
     {"OperationalStatus", "ExtentStatus", "Name"}},
    {kExtent,
     "zbrStorageExt",
     {"Drive {n} in enclosure 1 on controller {c} Fw: N{n} - *", "Drive {d} on controller {c} Fw: N{n} - *"},
     {"Drive * in enclosure 1 on controller {c} Fw: * - *", "Drive {d} on controller {c} Fw: * - *"},
     {"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"},
     {"Caption", "ElementName", "OperationalStatus", "HealthState", "BlockSize", "NumberOfBlocks", "Primordial"},
     {"OperationalStatus"}},
    {kPort,
     "zbrPort",
     {"Port {d} on Controller {c}"},
     {"Port {d} on Controller {c}", "{d} on Controller {c}"},
     {"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"},
     {"Caption", "ElementName", "OperationalStatus", "HealthState", "PortType", "UsageRestriction"},
     {"OperationalStatus"}},
    {kBattery,
     "zbrControllerBattery",
     {"Battery {d} on Controller {c}"},
     {"Battery {d} on Controller {c}"},
     {"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"},
     {"Caption", "ElementName", "OperationalStatus", "HealthState", "BatteryStatus"},
     {"OperationalStatus"}},
};

// Which words, statuses and healths go together: all come of one look at one record.
const struct {
    const char *className, *caption;
    Words status; // empty: any
    const char *health;
} kStates[] = {
    {kVolume, "* - OPTIMAL", {"{2}"}, "5"},
    {kVolume, "* - DEGRADED", {"{3}"}, "10"},
    {kVolume, "* - OFFLINE", {"{6}"}, "30"},
    {kVolume, "* - UNDEFINED", {"{5}", "{0}"}, "0"}, // 0: what an empty array, or none, is read as
    {kExtent, "* - HOT SPARE", {"{2}"}, "5"},
    {kExtent, "* - UNCONFIGURED GOOD", {"{2}", "{15}"}, "5"},
    {kExtent, "* - REBUILD", {"{2}"}, "5"},
    {kExtent, "* - ONLINE", {"{2}"}, "5"},
    {kExtent, "* - UNCONFIGURED BAD", {"{6}"}, "10"},
    {kExtent, "* - FAILED", {"{6}"}, "30"},
    {kExtent, "* - OFFLINE", {"{12}"}, "20"},
    {kExtent, "* - UNDEFINED", {"{3}", "{0}"}, "10"},
    {kPort, "*", {"{2}"}, "5"},
    {kPort, "*", {"{0}"}, "0"},
    {kBattery, "*", {"{2}", "{15}"}, "5"},
    {kBattery, "*", {"{6}"}, "30"},
    {kBattery, "*", {"{12}"}, "20"},
    {kBattery, "*", {"{3}", "{0}"}, "0"},
    {kController, "*", {"{2}", "{0}"}, "5"},
};

bool Contains(const Words &words, const std::string &word) {
    return std::any_of(words.begin(), words.end(), [&](const std::string &w) { return cim::SameName(w, word); });
}

const Form &FormOf(const std::string &className) {
    return *std::find_if(std::begin(kForms), std::end(kForms), [&](const Form &f) { return className == f.className; });
}

std::string Replaced(std::string text, const std::string &what, const std::string &with) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

bool Fits(const std::string &caption, const std::string &identifier, const Form &form, Weather weather) {
    const std::string ids = identifier.substr(std::string(form.prefix).size());
    const std::size_t separator = std::min(ids.find('_'), ids.size());
    const std::string device = ids.substr(std::min(separator + 1, ids.size()));
    for (std::string pattern : weather == Weather::Fair ? form.captions : form.foulCaptions) {
        pattern = Replaced(pattern, "{c}", ids.substr(0, separator));
        pattern = Replaced(pattern, "{d}", device);
        pattern = Replaced(pattern, "{n}", device.substr(std::min<std::size_t>(1, device.size())));
        if (Matches(caption, pattern)) return true;
    }
    return false;
}

std::string FlawInState(const cim::Instance &instance, const std::string &className) {
    if (className == kSoftware) return {};
    const std::string caption = Shown(instance, "Caption"), status = Shown(instance, "OperationalStatus");
    const std::string health = Shown(instance, "HealthState");
    for (const auto &state : kStates)
        if (className == state.className && Matches(caption, state.caption) && health == state.health &&
            (status == "absent" || Contains(state.status, status)))
            return {};
    return "status " + status + " and health " + health + " do not go with \"" + caption + "\"";
}

} // namespace

std::string Flaw(const cim::ObjectPath &path, const std::string &className, Weather weather) {
    const Form &form = FormOf(className);
    if (path.className != className || path.nameSpace != kNameSpace) return "is of another class or namespace";
    if (path.keys.size() != form.keys.size()) return "has too many or too few keys";
    for (const std::string &name : form.keys) {
        const std::string value = Shown(path.Key(name));
        const bool host = name.rfind("System", 0) == 0;
        if (name == "CreationClassName" && value != className) return "has a creation class name of " + value;
        if (host && value.empty() && weather == Weather::Fair) return "has no " + name;
        if (name == "SystemCreationClassName" && !value.empty() && value != "OMC_UnitaryComputerSystem")
            return "has a system class name of " + value;
    }
    const std::string identifier = Shown(path.Key(IdentifyingKey(className)));
    const bool device = form.keys.size() == 4;
    if (!Matches(identifier, form.prefix + std::string(device ? "c*_*" : "c*")))
        return "has an identifier " + identifier;
    return {};
}

std::string Flaw(const cim::Instance &instance, const std::string &className, Weather weather, cim::PropertyList list) {
    std::string flaw = Flaw(instance.path, className, weather);
    if (!flaw.empty()) return flaw;
    const Form &form = FormOf(className);
    for (const cim::NamedValue &property : instance.properties) {
        if (property.value.IsNull() || Contains(form.keys, property.name)) continue;
        if (!Contains(form.properties, property.name)) return "has an unknown property " + property.name.Text();
        if (list != nullptr && !Contains(*list, property.name))
            return "has " + property.name.Text() + ", not asked for";
    }
    for (const std::string &key : form.keys) {
        const cim::Value *copy = instance.Property(key);
        if (copy != nullptr && !copy->IsNull() && Shown(copy) != Shown(instance.path->Key(key)))
            return "says of itself that its " + key + " is " + Shown(copy);
    }
    if (list != nullptr) return {};
    for (const std::string &name : form.properties) {
        const cim::Value *value = instance.Property(name);
        const bool optional = weather == Weather::Foul && Contains(form.optional, name);
        if ((value == nullptr || value->IsNull()) && !optional) return "has no " + name;
    }
    const std::string identifier = Shown(instance.path->Key(IdentifyingKey(className)));
    const std::string caption = Shown(instance, "Caption");
    if (!Fits(caption, identifier, form, weather)) return "is captioned \"" + caption + "\"";
    if (Shown(instance, "ElementName") != caption) return "has an element name other than its caption";
    return FlawInState(instance, className);
}

} // namespace support
