// A hardware description for the simulated vendor, put together in a test (docs/hardware-description.md has the
// format).
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace support {

using Json = nlohmann::ordered_json; // a controller's lists are enumerated in the order in which they stand

class Hardware {
public:
    // A controller; what follows with With... is the latest one's. `more` are further members of the entry.
    Hardware &WithController(const std::string &id, const Json &more = Json::object());
    Hardware &WithEnclosure(const std::string &id, const Json &more = Json::object()) {
        return Add("enclosures", id, more);
    }
    Hardware &WithPool(const std::string &id, const Json &more = Json::object()) { return Add("pools", id, more); }
    Hardware &WithDisk(const std::string &id, const Json &more = Json::object()) { return Add("disks", id, more); }
    Hardware &WithVolume(const std::string &id, const Json &more = Json::object()) { return Add("volumes", id, more); }
    Hardware &WithPort(const std::string &id, const Json &more = Json::object()) { return Add("ports", id, more); }
    Hardware &WithBattery(const std::string &id, const Json &more = Json::object()) {
        return Add("batteries", id, more);
    }
    // One of the given class that is none of the above, or one of the above in a place among others.
    Hardware &WithDevice(const std::string &id, const std::string &className) {
        return Add("devices", id, {{"class", className}});
    }
    Hardware &WithProfile(const Json &profile) {
        document["profiles"].push_back(profile);
        return *this;
    }

    Json &Controller(const std::string &id = {}); // empty: the first
    // An entry of a controller's list, such as ("disks", "d0"). Throws when there is none.
    Json &Entry(const std::string &list, const std::string &id, const std::string &controller = {});
    void Remove(const std::string &list, const std::string &id, const std::string &controller = {});

    Json document = {{"controllers", Json::array()}};

private:
    Hardware &Add(const char *list, const std::string &id, const Json &more);
};

// A controller c0 with an enclosure 252, a primordial pool "free" and a pool "dg0".
Hardware OneController();
// Adds what a controller can have, one device of each kind: disk d0 and volume v0 in dg0, port p0, battery b0.
Hardware OneOfEach();

} // namespace support
