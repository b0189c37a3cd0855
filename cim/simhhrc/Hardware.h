// From profiles and controllers with their enclosures, pools and devices to objects and links: the model of the Host
// Hardware RAID Controller profile.
#pragma once

#include "cim/simhhrc/Elements.h"
#include "cim/simhhrc/Graph.h"
#include "cim/simhhrc/Kinds.h"

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace sim {

class HardwareReader {
public:
    explicit HardwareReader(Graph &filled) : graph(filled) {}

    // The members "profiles" and "controllers" of a file.
    void Read(Fields &file);

    // An object by its address in the description, such as "c0/disk/252:4/media".
    std::optional<NodeId> Find(const std::string &address) const;

private:
    struct Pool {
        NodeId node;
        Entry entry;
        bool primordial;
        std::uint64_t bytes = 0; // of its disks
    };
    struct Enclosure {
        NodeId node;
        std::string tag;
        std::optional<std::vector<std::uint16_t>> slots; // none: any
    };
    struct Controller {
        Entry entry;
        System system{};
        std::optional<NodeId> systemNode{};
        std::map<std::string, Enclosure> enclosures{};
        Pool *firstPrimordial = nullptr;
    };

    void ReadProfiles(Fields &file);
    Controller &ReadController(const JsonValue &json);
    void ConnectProfiles(Controller &controller, NodeId port);
    void ReadSoftware(Controller &controller);
    void ReadEnclosures(Controller &controller);
    void ReadPools(Controller &controller);
    void ReadDevices(Controller &controller);
    void FinishPools();

    void ReadDisk(Controller &controller, Entry &disk);
    void ReadVolume(Controller &controller, Entry &volume);
    void ReadDevice(Controller &controller, Entry &device);

    // What a disk is besides the drive.
    void AddMedia(Controller &controller, Entry &disk, NodeId drive);
    void AddFirmware(Controller &controller, Entry &disk, NodeId drive);
    void AddPackage(Controller &controller, Entry &disk, NodeId drive);
    // The slot that a disk says it is in, made when it is the first there; none when it says nothing of a slot.
    std::optional<NodeId> SlotOf(Controller &controller, Entry &disk);

    // An entry of a controller's, or, without one, of the file's own lists.
    Entry Open(const JsonValue &json, const ElementKind &kind, const Controller *of);
    // What an entry of a list stands for, less what is peculiar to its kind.
    Element Make(const System &system, Entry &entry, const std::string &key) const;
    // A second object of the same address is a mistake unless the entry allows it.
    NodeId Add(const Controller *controller, Entry &entry, Element element);
    // An object behind an entry. None when the entry says so. The element is not added then, but was checked.
    Element MakePart(const Controller &controller, const ElementKind &kind, const std::string &key, Entry &entry,
                     const char *part) const;
    std::optional<NodeId> AddPart(Element element, Entry &entry, const char *part, const std::string &address);
    void Connect(const Association &association, NodeId first, NodeId second);
    // The pools that a device names.
    std::vector<Pool *> PoolsOf(const Controller &controller, Fields &device);

    Graph &graph;
    std::deque<JsonValue> expanded; // entries that stand for one of many alike
    std::deque<Controller> controllers;
    std::deque<Pool> pools; // of all controllers, before any device
    std::unordered_map<std::string, Pool *> poolsByAddress;
    std::optional<NodeId> firstProfile;
    std::unordered_map<std::string, NodeId> byAddress;
};

} // namespace sim
