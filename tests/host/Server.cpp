#include "tests/host/Server.h"

#include <cstdlib>
#include <fstream>

namespace cim {

Server::Server(nlohmann::ordered_json given) : description(std::move(given)) {
    std::string pattern = (std::filesystem::temp_directory_path() / "quarnel.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    folder = pattern;
    file = folder + "/server.json";
    Save();
}

Server::~Server() { std::filesystem::remove_all(folder); }

void Server::Save() const {
    std::ofstream(file + ".new") << description.dump(2);
    std::filesystem::rename(file + ".new", file);
}

nlohmann::ordered_json SmallServer() {
    return nlohmann::ordered_json::parse(R"({
      "controllers": [{
        "id": "c1", "model": "Acme R2i",
        "software": [{"kind": "firmware", "version": "5.11"}, {"kind": "bundle", "version": "24.1"}],
        "enclosures": [{"id": "8", "slots": "1-2"}],
        "pools": [{"id": "free", "primordial": true}, {"id": "dg0"}],
        "disks": [
          {"id": "d1", "enclosure": "8", "slot": 1, "pool": "dg0", "blocks": 2097152, "firmware": "N0A4"},
          {"id": "d2", "enclosure": "8", "slot": 2, "pool": "dg0", "blocks": 2097152},
          {"id": "d3", "pool": "free", "blocks": 3145728, "firmware": "N0A4", "status": "unconfigured bad"}
        ],
        "volumes": [{"id": "0", "name": "boot", "raid": "RAID1", "pool": "dg0", "blocks": 2095104,
                     "uniqueId": "600A", "nameFormat": 9, "deltaReservation": 3}],
        "ports": [{"id": "p0", "name": "Port 0", "type": "SATA", "usage": "front-end"}],
        "batteries": [{"id": "b", "batteryStatus": "charging", "status": "no contact"}]
      }]
    })");
}

} // namespace cim
