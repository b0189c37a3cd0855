#include "cim/picture/InventoryDocument.h"

namespace cim::picture {

Json InventoryDocument(const Observation &observation, bool sample) {
    const auto &gone = observation.memory.All();
    Json document = {{"age", observation.age.count()}, {"watchedSince", TimeWithOffset(observation.since)}};
    document.update(ToJson(observation.inventory, {observation.time, sample, gone.size()}, nullptr));
    if (const auto &rejected = observation.rejected) {
        document["rejected"] = {
            {"file", rejected->file}, {"reason", rejected->reason}, {"since", TimeWithOffset(rejected->since)}};
    }
    document["gone"] = Json::array();
    for (const Gone &each : gone) document["gone"].push_back(ToJson(each));
    document["changes"] = observation.log.ToJson();
    return document;
}

} // namespace cim::picture
