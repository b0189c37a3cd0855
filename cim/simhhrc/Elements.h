// From an entry of a description to a CIM object, for every kind of hardware alike: which class it is of, its keys, the
// members that become properties, and what the entry says about itself beyond its members.
#pragma once

#include "cim/simhhrc/Fields.h"
#include "cim/simhhrc/Graph.h"
#include "cim/simhhrc/Values.h"

#include <deque>
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
struct Row {
    const char *member;
    const char *property;
    const Names *names = nullptr; // words for its numbers
};

// A number that a property holds when the entry says nothing.
struct Default {
    const char *property;
    std::uint64_t number;
};

// A kind of object.
struct Kind {
    const char *word;   // in messages and addresses
    const char *suffix; // of its classes' names: CIM_DiskDrive, Sim_DiskDrive, Sim_AcmeDiskDrive
    Keys keys;
    std::vector<Row> rows = {};
    std::vector<Default> defaults = {};
};

// A word for the states of a kind of device.
struct State {
    enum class Needs { Nothing, PrimordialPool, OtherPool };
    const char *name;
    std::uint16_t operational;
    std::uint16_t extent = 2;
    Needs needs = Needs::Nothing;
};

struct Status {
    std::vector<std::uint16_t> operational;
    std::uint16_t extent;
    State::Needs needs;
};

// The system that devices belong to.
struct Scope {
    std::string systemClass;
    std::string systemName;
    std::string classPrefix; // empty: the simulator's own classes
};

extern const Names kHealthNames;
std::uint16_t HealthOf(std::uint16_t operationalStatus);

// The member "status": a state of the kind's own, one that every kind knows, or numbers. `otherwise` when it is absent.
Status StatusOf(Fields &fields, const std::vector<State> &states, const char *otherwise = "ok");

// The class that the entry names, or that the scope's prefix and the kind give. `odd` may be null.
ClassId ClassOf(const Classes &classes, const Scope &scope, const Kind &kind, Fields *odd);

// An object with its keys, the same as properties, and the kind's defaults.
Object MakeObject(const Classes &classes, const Scope &scope, const Kind &kind, ClassId type, const std::string &id);

void SetText(Object &object, const char *property, const std::optional<std::string> &text);
void SetNumber(const Classes &classes, Object &object, const char *property, std::uint64_t number);
void SetNumbers(Object &object, const char *property, const std::vector<std::uint16_t> &numbers);
void SetStatus(const Classes &classes, Object &object, const Status &status);
void SetRows(const Classes &classes, Object &object, const std::vector<Row> &rows, Fields &fields);

// "omit", "properties", "omitKeys" and "keys". After everything else: they overrule it.
void SetOddities(const Classes &classes, Object &object, Fields &fields);

// The member "parts" of an entry: what it says of the objects behind it.
class Parts {
public:
    explicit Parts(Fields &owner);
    // False when the entry says that there is none.
    bool Has(const char *part);
    // What it says of the part; null when it says nothing.
    Fields *Odd(const char *part);
    void Finish() const;

private:
    const Json *Find(const char *part);
    std::optional<Fields> fields;
    std::deque<std::pair<std::string, Fields>> odd; // stays where it is when it grows
};

} // namespace sim
