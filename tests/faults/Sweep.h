// Visiting the points of a story at which something can go wrong.
#pragma once

#include "tests/faults/Story.h"

#include <cstdio>
#include <syslog.h>

namespace support {

constexpr int kSilent = LOG_MASK(LOG_EMERG); // a log's mask that lets nothing of the provider's through

// `arm(n)` makes the nth point fail; `disarm` takes that back and says whether the point was reached. `count` tells how
// many points the story has when nothing fails.
template <class Arm, class Disarm>
void Sweep(Story &story, const char *what, std::uint64_t points, Arm arm, Disarm disarm) {
    ASSERT_GT(points, 0u) << "nothing of " << what << " can fail";
    const std::uint64_t stride = StrideFor(points);
    std::uint64_t visited = 0;
    std::uint64_t reached = 0;
    for (std::uint64_t point = 0; point < points; point += stride) {
        SCOPED_TRACE(std::string(what) + ", point " + std::to_string(point) + " of " + std::to_string(points));
        arm(point);
        story.Tell();
        visited += 1;
        reached += disarm();
        story.ExpectRefreshesToRecover();
        story.ExpectNextLifeToBeWhole();
        if (testing::Test::HasFailure()) return; // one point with its trace tells more than a thousand
    }
    std::printf("swept %s: %llu of %llu points, %llu reached\n", what, static_cast<unsigned long long>(visited),
                static_cast<unsigned long long>(points), static_cast<unsigned long long>(reached));
    EXPECT_GT(reached, 0u);
}

} // namespace support
