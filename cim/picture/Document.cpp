#include "cim/picture/Document.h"

#include "cim/picture/Facts.h"

namespace cim::picture {

namespace {

Json ItemDocument(const Item &item, const Inventory &inventory) {
    Json document = ToJson(item.instance);
    Json &facts = document["facts"] = FactsOf(item);
    if (item.served->index == kVolume) {
        const Members members = MembersOf(item, inventory[kDisk]);
        facts["members"] = members.paths;
        facts["membersCut"] = members.cut;
    }
    return document;
}

// The name of the machine, which every device's key has. Empty without devices.
std::string SystemOf(const Inventory &inventory) {
    for (const auto &items : inventory) {
        for (const auto &item : items) {
            const Value *name = item.instance.path->Key("SystemName");
            if (name != nullptr && name->As<std::string>() != nullptr) return *name->As<std::string>();
        }
    }
    return {};
}

} // namespace

Json InventoryDocument(const Observation &observation, bool sample) {
    Json document = {{"time", TimeText(observation.time)},
                     {"age", observation.age.count()},
                     {"watchedSince", TimeText(observation.since)},
                     {"system", SystemOf(observation.inventory)}};
    if (sample) document["source"] = kSampleHardware;
    for (const auto &served : kServedClasses) {
        Json &items = document[served.name] = Json::array();
        for (const auto &item : observation.inventory[served.index]) {
            items.push_back(ItemDocument(item, observation.inventory));
        }
    }
    document["changes"] = observation.log.ToJson();
    return document;
}

} // namespace cim::picture
