// What a client sees after each step of the story is what has happened, and nothing else.
#include "tests/story/Story.h"
#include "tests/support/Golden.h"

namespace cim {
namespace {

TEST(Story, AClientSeesEachStepAndNothingElse) {
    Stage stage;
    std::string seen;
    for (const Step &step : TheStory()) {
        seen += step.title + "\n";
        for (const Change &change : stage.Play(step)) seen += ToText(change, "   ");
    }
    support::ExpectGolden(STORY_FOLDER "/seen.txt", seen);
    stage.broker().Shutdown();
    EXPECT_EQ(stage.broker().Live().lent, 0u);
    EXPECT_EQ(stage.broker().Live().clones, 0u);
}

} // namespace
} // namespace cim
