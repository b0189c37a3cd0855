// A described server in a file of its own that a test may edit.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

namespace cim {

class Server {
public:
    explicit Server(nlohmann::ordered_json description);
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    const std::string &File() const { return file; }
    nlohmann::ordered_json &Controller() { return description["controllers"][0]; }
    void Save() const; // in one step: a reader sees the old description or the new one

    nlohmann::ordered_json description;

private:
    std::string folder, file;
};

// One controller c1: a RAID 1 on the disks in slots 1 and 2 of enclosure 8, and a free disk without a slot.
nlohmann::ordered_json SmallServer();

} // namespace cim
