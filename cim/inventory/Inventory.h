// What a client sees of a server's RAID hardware: the instances of the served classes, and the facts in them that
// people ask for. Nothing here comes from anywhere but the instances.
#pragma once

#include "cim/client/Connection.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cim {

constexpr const char *kServedNameSpace = "root/cimv2";

// What the views call the hardware that comes with the program and is shown when no other is named.
constexpr const char *kSampleHardware = "sample hardware";

enum ClassIndex : std::size_t { kController, kSoftware, kVolume, kDisk, kPort, kBattery };
struct ServedClass {
    ClassIndex index; // in kServedClasses
    const char *name;
    const char *kind;   // the word for one instance: "disk"
    const char *kinds;  // and for several
    const char *key;    // the property that tells instances apart
    const char *prefix; // of that property; the controller's ID follows, and for devices "_" and the device's own
};
inline constexpr std::array<ServedClass, 6> kServedClasses{{
    {kController, "Zembra_QuarnelController", "controller", "controllers", "Name", "zbrController"},
    {kSoftware, "Zembra_QuarnelSoftwareIdentity", "software", "software identities", "InstanceID",
     "zembra:ControllerSoftware"},
    {kVolume, "Zembra_QuarnelStorageVolume", "volume", "volumes", "DeviceID", "zbrStorageVolume"},
    {kDisk, "Zembra_QuarnelStorageExtent", "disk", "disks", "DeviceID", "zbrStorageExt"},
    {kPort, "Zembra_QuarnelSASSATAPort", "port", "ports", "DeviceID", "zbrPort"},
    {kBattery, "Zembra_QuarnelBattery", "battery", "batteries", "DeviceID", "zbrControllerBattery"},
}};

// The class of that name, without regard to case; the words for one or several instances will do, too. Null: not
// served.
const ServedClass *FindServedClass(std::string_view name);

// Instances by class, in kServedClasses' order. As read they are ordered by their paths, and the drives in volumes'
// captions by their places: the provider's own order differs from one start to the next.
using Instances = std::array<std::vector<Instance>, kServedClasses.size()>;
void PutInOrder(Instances &instances);
Answer<Instances> ReadInstances(Connection &server);
Answer<Instances> ReadInstances(Broker &broker);

// Of a verdict: the later, the worse. What is unknown is worth a look before what is fine.
enum class Severity { Ok, Unknown, Warning, Critical };
const char *NameOf(Severity severity); // "OK"

// What an operator may decide of verdicts.
struct Leniency {
    Severity rebuild = Severity::Warning; // of a disk that is being rebuilt
};

// One instance, told apart. A text that the instance does not have is empty.
struct Item {
    const ServedClass *served = nullptr;
    Instance instance;
    std::string path;       // identity: the object path as text
    std::string id;         // the identifying key's value
    std::string controller; // controller's ID
    std::string device;     // the device's own ID
    std::string state;  // the state word of the caption, also where it is cut off a volume's, or the operational status
    std::string status; // the operational status in words
    std::vector<std::string> furtherStatuses;
    std::string healthWord; // HealthState's
    Severity severity = Severity::Ok;
    std::string verdict;        // the severity's name; empty: the class is not judged
    std::string reason;         // why it is not OK
    std::string verdictInTable; // beside the state, which may tell the reason: "CRITICAL", "WARNING: no disks known"
    std::string name, model, package, firmware; // package: the software bundle's version
    std::string level, size, drives;            // of volumes; disks have a size, too
    std::optional<double> bytes;                // the size
    std::string driveList;                      // the volume's drives as its caption has them; SplitDrives reads it
    std::vector<std::string> members;           // paths of these disks, in that order; what no disk goes by is left out
    bool membersCut = false;                    // the caption ends before its list does
    std::string enclosure, slot;                // of disks
    std::string portType, usage;                // of ports
    std::string charge;                         // of batteries
};

// What there is to know of an item, each fact by one name for tables, lines and JSON.
struct Fact {
    const char *name;
    std::string Item::*text;
    bool right = false; // a number: columns of it are aligned right
};
inline constexpr Fact kFacts[] = {
    {"controller", &Item::controller},
    {"device", &Item::device},
    {"state", &Item::state},
    {"verdict", &Item::verdict},
    {"reason", &Item::reason},
    {"health", &Item::healthWord},
    {"name", &Item::name},
    {"model", &Item::model},
    {"package", &Item::package},
    {"firmware", &Item::firmware},
    {"level", &Item::level},
    {"size", &Item::size, true},
    {"drives", &Item::drives},
    {"enclosure", &Item::enclosure},
    {"slot", &Item::slot, true},
    {"type", &Item::portType},
    {"usage", &Item::usage},
    {"charge", &Item::charge},
};

// A property's text; empty when it has none.
const std::string &TextIn(const Instance &instance, const char *property);

// "disk c0/252:4"
std::string NameOf(const Item &item);

// Items by class. Worst verdict first, then by controller and place.
using Inventory = std::array<std::vector<Item>, kServedClasses.size()>;
Inventory Describe(Instances instances, const Leniency &leniency = {});
// The same by controller and place alone, which is how two dumps can be compared.
void SortByPlace(Inventory &inventory);

// The name of the machine, which every device's key has. Empty without devices.
std::string HostOf(const Inventory &inventory);

} // namespace cim
