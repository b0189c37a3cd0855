#include "tests/support/Hardware.h"

#include <stdexcept>

namespace support {
namespace {

Json::iterator FindById(Json &list, const std::string &id) {
    for (auto entry = list.begin(); entry != list.end(); ++entry)
        if (entry->value("id", std::string()) == id) return entry;
    throw std::logic_error("no entry \"" + id + "\" in the hardware description");
}

} // namespace

Hardware &Hardware::WithController(const std::string &id, const Json &more) {
    Json controller = {{"id", id}};
    controller.update(more);
    document["controllers"].push_back(controller);
    return *this;
}

Hardware &Hardware::Add(const char *list, const std::string &id, const Json &more) {
    Json entry = {{"id", id}};
    entry.update(more);
    document["controllers"].back()[list].push_back(entry);
    return *this;
}

Json &Hardware::Controller(const std::string &id) {
    Json &controllers = document["controllers"];
    return id.empty() ? controllers.front() : *FindById(controllers, id);
}

Json &Hardware::Entry(const std::string &list, const std::string &id, const std::string &controller) {
    return *FindById(Controller(controller)[list], id);
}

void Hardware::Remove(const std::string &list, const std::string &id, const std::string &controller) {
    Json &entries = Controller(controller)[list];
    entries.erase(FindById(entries, id));
}

Hardware OneController() {
    return Hardware()
        .WithController("c0", {{"model", "Acme R8i"}})
        .WithEnclosure("252")
        .WithPool("free", {{"primordial", true}})
        .WithPool("dg0");
}

Hardware OneOfEach() {
    return OneController()
        .WithDisk("d0", {{"pool", "dg0"}, {"enclosure", "252"}, {"slot", 4}, {"size", "900GB"}, {"firmware", "N0A4"}})
        .WithVolume("v0", {{"pool", "dg0"}, {"name", "data"}, {"raid", "RAID5"}, {"size", "899GB"}})
        .WithPort("p0", {{"name", "Port 0"}})
        .WithBattery("b0");
}

} // namespace support
