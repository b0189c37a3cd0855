// From an entry of a description to a CIM object, for every kind of hardware alike: which class it is of, its keys, the
// members that become properties, and what the entry says about itself beyond its members.
#pragma once

#include "cim/simhhrc/Data.h"
#include "cim/simhhrc/Fields.h"
#include "cim/simhhrc/Graph.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// Which keys an object has besides its own identifier.
enum class Keys {
    System,   // CreationClassName and Name
    Device,   // those of its system, CreationClassName and DeviceID
    Physical, // CreationClassName and Tag
    Instance, // InstanceID alone
};

// A member of an entry that becomes a property.
struct MemberRow {
    const char *member;
    const char *property;
    const Words *words = nullptr; // for its numbers
};

// What a property holds when the entry says nothing: a number, or a text in which {id} is the object's own key.
struct Default {
    const char *property;
    std::uint64_t number;
    const char *text = nullptr;
};

// A word for the states of a kind of device.
struct KnownState {
    enum class Needs { Nothing, PrimordialPool, OtherPool };
    const char *name;
    std::uint16_t operational;
    std::uint16_t extent = 2;
    Needs needs = Needs::Nothing;
};

// An association and the roles of its two ends.
struct Association {
    const char *suffix;
    const char *roles[2];
};

// A kind of object.
struct ElementKind {
    const char *word;   // in messages and addresses
    const char *suffix; // of its classes' names: CIM_DiskDrive, Sim_DiskDrive, Sim_AcmeDiskDrive
    Keys keys;
    std::vector<MemberRow> members = {};
    std::vector<Default> defaults = {};
    const std::vector<KnownState> *states = nullptr; // its own names for its status; null: it has no status
    const Association *toSystem = nullptr;           // what connects it with its controller's system
};

// What an entry says of its status.
struct Condition {
    std::vector<std::uint16_t> operational = {};
    std::uint16_t extent = 2;
    KnownState::Needs needs = KnownState::Needs::Nothing;
};
// The member "status": a state of the kind's own, one that every kind knows, or numbers; "ok" when it is absent.
Condition ConditionOf(Fields &fields, const std::vector<KnownState> &states);

// The system that devices belong to.
struct System {
    std::string className;
    std::string name;
    std::string classPrefix; // empty: the simulator's own classes
};

// An entry of a description.
class Entry {
public:
    Entry(const JsonValue &json, const ElementKind &ofKind, const std::string &what)
        : kind(ofKind), fields(json, what) {}

    const ElementKind &kind;
    Fields fields;
    std::string id;
    std::string address; // for links and other entries: "c0/disk/252:4"

    // What the member "parts" says of an object behind this one: that there is none, or more about it.
    struct Part {
        bool exists;
        Fields *odd; // null when it says nothing
    };
    Part PartOf(const char *part);
    void Finish() const;

private:
    std::optional<Fields> parts;
    std::map<std::string, Fields> odd;
};

// An object in the making.
class Element {
public:
    // With its keys, the same as properties, and the kind's defaults. `entry` may name the class; it may be null.
    Element(const Classes &known, const System &system, const ElementKind &kind, const std::string &id, Fields *entry);

    Element(const Classes &known, Node made) : node(std::move(made)), classes(known) {} // to change it

    void Set(const char *property, const std::optional<std::string> &text); // none: leaves it as it is
    void Set(const char *property, std::uint64_t number);                   // as the class has it, perhaps in an array
    void Set(const Condition &condition);
    void SetMembers(const ElementKind &kind, Fields &entry);
    // "omit", "properties", "omitKeys" and "keys". After everything else: they overrule it.
    void SetOddities(Fields &entry);

    Node node;

private:
    const Classes &classes;
};

// The class that the entry names, or that the prefix and the kind give. `entry` may be null.
ClassId ClassOf(const Classes &classes, const std::string &prefix, const ElementKind &kind, Fields *entry);

} // namespace sim
