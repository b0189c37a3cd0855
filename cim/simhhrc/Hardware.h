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
    std::optional<ObjectId> Find(const std::string &address) const;

private:
    struct Pool {
        ObjectId object;
        Fields fields;
        bool primordial;
        std::uint64_t bytes = 0; // of its disks
    };
    struct Enclosure {
        ObjectId object;
        std::string tag;
        std::optional<std::vector<std::uint16_t>> slots; // none: any
    };
    struct Controller {
        std::string id;
        Fields fields;
        Parts parts;
        Scope scope{};
        std::optional<ObjectId> system{};
        std::map<std::string, Enclosure> enclosures{};
        Pool *firstPrimordial = nullptr;
    };

    void ReadProfiles(Fields &file);
    Controller &ReadController(const Json &json);
    void ConnectProfiles(Controller &controller, ObjectId portId);
    void ReadSoftware(Controller &controller);
    void ReadEnclosures(Controller &controller);
    void ReadPools(Controller &controller);
    void ReadDevices(Controller &controller);
    void FinishPools();

    void ReadDisk(Controller &controller, const Json &json, const Kind &kind);
    void ReadVolume(Controller &controller, const Json &json, const Kind &kind);
    void ReadDevice(Controller &controller, const Json &json, const Kind &kind);

    // What a disk is besides the drive.
    void AddMedia(Controller &controller, Fields &disk, Parts &parts, ObjectId drive, const std::string &id);
    void AddDiskPackage(Controller &controller, Fields &disk, Parts &parts, ObjectId drive, const std::string &id);
    // The slot that a disk says it is in, made when it is the first there; none when it says nothing of a slot.
    std::optional<ObjectId> SlotOf(Controller &controller, Fields &disk, Parts &parts);
    void AddDiskFirmware(Controller &controller, Fields &disk, Parts &parts, ObjectId drive, const std::string &id);

    // Adds a finished object under its address; a second one of that address is a mistake unless the entry allows it.
    ObjectId Add(Object object, const std::string &address, Fields &fields);
    // An object behind another: made of kind and identifier, changed by what the entry's parts say.
    Object MakePart(const Controller &controller, const Kind &kind, const std::string &id, Fields *odd) const;
    ObjectId AddPart(Object object, const std::string &address, Fields *odd);
    void Connect(const Association &association, ObjectId first, ObjectId second);
    void ConnectDevice(const Controller &controller, ObjectId device);
    // The pools that a device names.
    std::vector<Pool *> PoolsOf(const Controller &controller, Fields &device);

    Graph &graph;
    std::deque<Json> expanded; // entries that stand for one of many alike
    std::deque<Controller> controllers;
    std::deque<Pool> pools; // of all controllers, before any device
    std::unordered_map<std::string, Pool *> poolsByAddress;
    std::optional<ObjectId> firstProfile;
    std::unordered_map<std::string, ObjectId> byAddress;
};

} // namespace sim
