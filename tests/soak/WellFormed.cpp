#include "tests/soak/WellFormed.h"

#include "tests/support/Values.h"

#include <algorithm>

namespace support {
namespace {

const std::string kAbsent = "absent";

Identity IdentityIn(const cim::ObjectPath &path) { return IdentityOf(Shown(path.Key(IdentifyingKey(path.className)))); }

// What a client is told of the state: "DEGRADED {3} 10".
std::string StateIn(const cim::Instance &instance, const std::string &status) {
    const std::string caption = Shown(instance, "Caption");
    const std::size_t word = caption.rfind(" - ");
    return (word == std::string::npos ? "" : caption.substr(word)) + " " + status + " " +
           Shown(instance, "HealthState");
}

bool MayBeMissing(const std::string &property, CMPIType type) { return (type & CMPI_ARRAY) != 0 || property == "Name"; }

} // namespace

Identity IdentityOf(const std::string &identifier) {
    const std::size_t end = std::min(identifier.find('_'), identifier.size()), start = end < 2 ? 0 : end - 2;
    return {identifier.substr(0, start), identifier.substr(start, end - start), identifier.substr(end)};
}

void WellFormed::Learn(const cim::Instance &sample) {
    Form &form = forms[sample.path->className];
    form.path = sample.path;
    for (const cim::NamedValue &property : sample.properties)
        if (!property.value.IsNull() && sample.path->Key(property.name) == nullptr)
            form.properties[property.name.Text()] = property.value.type;
    for (const std::string &status : {Shown(sample, "OperationalStatus"), kAbsent})
        form.states.insert(StateIn(sample, status));
}

std::string WellFormed::Flaw(const cim::ObjectPath &path, const std::string &className, Weather weather) const {
    const cim::ObjectPath &sample = forms.at(className).path;
    if (path.className != className || path.nameSpace != kNameSpace) return "is of another class or namespace";
    if (path.keys.size() != sample.keys.size()) return "has too many or too few keys";
    for (const cim::NamedValue &key : sample.keys) {
        const std::string found = Shown(path.Key(key.name));
        const bool unread = weather == Weather::Foul && found.empty();
        if (key.name.Text() != IdentifyingKey(className) && found != Shown(&key.value) && !unread)
            return "has a " + key.name.Text() + " of " + found;
    }
    const Identity of = IdentityIn(path), like = IdentityIn(sample);
    if (of.prefix != like.prefix || of.controller[0] != 'c' || (of.device.size() > 1) != (like.device.size() > 1))
        return "has such an identifier";
    return {};
}

std::string WellFormed::Flaw(const cim::Instance &instance, const std::string &className, Weather weather,
                             cim::PropertyList list) const {
    std::string flaw = Flaw(instance.path, className, weather);
    if (!flaw.empty()) return flaw;
    const Form &form = forms.at(className);
    for (const cim::NamedValue &property : instance.properties) {
        const std::string &name = property.name.Text();
        if (property.value.IsNull()) continue;
        if (const cim::Value *key = instance.path->Key(name)) {
            if (*key != property.value) return "says of itself that its " + name + " is " + Shown(&property.value);
            continue;
        }
        const auto known = form.properties.find(name);
        if (known == form.properties.end() || known->second != property.value.type)
            return "has an unknown property " + name + ", or of another type";
        if (list != nullptr && std::find(list->begin(), list->end(), name) == list->end())
            return "has " + name + ", not asked for";
    }
    if (list != nullptr) return {};
    for (const auto &[name, type] : form.properties)
        if (Shown(instance, name) == kAbsent && (weather == Weather::Fair || !MayBeMissing(name, type)))
            return "has no " + name;
    const Identity of = IdentityIn(instance.path);
    const std::string caption = Shown(instance, "Caption");
    // A device's own number is in its caption, a disk's as that of its slot.
    const std::string number = of.device.substr(std::min<std::size_t>(2, of.device.size()));
    if (caption.find("ontroller " + of.controller) == std::string::npos ||
        (weather == Weather::Fair && caption.find(number) == std::string::npos))
        return "is captioned \"" + caption + "\"";
    if (Shown(instance, "ElementName") != caption) return "has an element name other than its caption";
    const std::string state = StateIn(instance, Shown(instance, "OperationalStatus"));
    return form.states.count(state) != 0 ? "" : "is in a state of" + state;
}

} // namespace support
