#include "tests/story/Story.h"

#include "tests/support/TestClock.h"

namespace cim {

std::vector<Step> TheStory() {
    std::ifstream file(STORY_FOLDER "/story.json");
    std::vector<Step> story;
    for (const auto &step : nlohmann::ordered_json::parse(file)) story.push_back({step["title"], step["changes"]});
    return story;
}

Stage::Stage() : server(SampleHardware("rack-server.json")), hosted(support::Host(server.File())), now(See()) {}

std::vector<Change> Stage::Play(const Step &step) {
    server.description.patch_inplace(step.changes);
    server.Save();
    before = std::move(now);
    now = See();
    return Compare(before, now, nullptr);
}

Inventory Stage::See() {
    // Reading asks for a refresh of what was last refreshed 20 seconds ago or earlier, and answers from the cache.
    constexpr time_t refreshInterval = 20;
    support::TestClock::Advance(refreshInterval + 1);
    Answer<Instances> seen = ReadInstances(*hosted);
    if (seen.Ok() && hosted->WaitForBackground(std::chrono::milliseconds(200), std::chrono::seconds(60)))
        seen = ReadInstances(*hosted);
    if (!seen.Ok()) throw std::runtime_error(seen.status.message);
    return Describe(std::move(seen.value));
}

} // namespace cim
