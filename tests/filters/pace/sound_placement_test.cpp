// Sound at a renderer that behaves as the system's does: it heeds times only behind a discontinuity, and only
// to wait.
#include <algorithm>
#include <cstdlib>
#include <optional>

#include <gtest/gtest.h>

#include "filters/base/reference_time.h"
#include "filters/pace/sound_placement.h"

namespace vistrame::test {
namespace {

constexpr std::int64_t kMs = kUnitsPerMillisecond;
constexpr int kRate = 48'000;
constexpr std::int64_t kCount = 1152; // 24 ms

struct Renderer {
    std::optional<std::int64_t> end; // of what it has

    // When the first of `length` is heard.
    std::int64_t Play(std::int64_t start, std::int64_t length, const SoundPlacement::Placement& place,
                      std::int64_t now) {
        end = place.flush ? std::nullopt : end;
        const std::int64_t soonest = now + 10 * kMs;
        const bool dry = !end || *end < soonest;
        const bool lost = end && *end + 1000 * kMs < now; // its buffer went round
        const std::int64_t position = dry ? soonest : *end;
        const bool timed = place.discontinuity && start >= 0 && !lost; // before zero there is no time
        const std::int64_t gap = timed ? start - position : 0;
        const std::int64_t heard = gap > (dry ? 0 : 50 * kMs) ? soonest + gap : position;
        end = heard + length;
        return heard;
    }
};

TEST(SoundPlacement, WhatIsHeardIsHeardAtItsTime) {
    struct Row {
        const char* what;
        int moved;      // ms: the times jump by that after a second
        int lead;       // ms: from then on
        int playedFrom; // ms: how much of the second part at least, behind the first that may be left out
        int damage = 0; // ms: of the first time then, and of that alone
    };
    const Row rows[] = {
        {"runs on", 0, 200, 0},
        {"a gap the renderer would close", 30, 200, 0},
        {"a gap that it would keep, too short", 120, 200, 0},
        {"overlaps", -150, 200, 150},
        {"comes late for a while", 0, -60, 1200}, // never in time again
        {"nearly dry", 0, 30, 0},
        {"pause", 800, 200, 0},
        {"longer than the renderer's buffer", 3000, 200, 0},
        {"a damaged time, far ahead", 0, 200, 24, 1500},
        {"a damaged time, far behind", 0, 200, 24, -1500},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        SoundPlacement placement;
        Renderer renderer;
        std::int64_t now = -130 * kMs; // a graph's stream time when it begins to run
        std::int64_t played = 0;       // of the second part
        for (int i = 0; i < 90; ++i) {
            const bool second = i >= 40;
            const std::int64_t belongs = (i * 24 - 100 + (second ? row.moved : 0)) * kMs - 7;
            const std::int64_t time = belongs + (i == 40 ? row.damage : 0) * kMs;
            now = std::max(now, belongs - (second ? row.lead : 200) * kMs); // when the decoder has it
            const auto place = placement.Place(kCount, kRate, time, now);
            if (place.skipped == kCount) {
                continue;
            }
            const std::int64_t frames = kCount - place.skipped + place.silence;
            const std::int64_t heard =
                renderer.Play(place.start, frames * kUnitsPerSecond / kRate, place, now);
            const std::int64_t due = time + (place.skipped - place.silence) * kUnitsPerSecond / kRate;
            EXPECT_LE(std::abs(heard - due), SoundPlacement::kTolerance + kMs) << time / kMs;
            played += second ? kCount - place.skipped : 0;
        }
        EXPECT_GE(played * 1000 / kRate, 1200 - row.playedFrom - 1);
    }
}

TEST(SoundPlacement, AfterAPauseTheRendererBeginsAnew) {
    SoundPlacement placement;
    placement.Resume(); // the first run: nothing to forget
    EXPECT_FALSE(placement.Place(kCount, kRate, 200 * kMs, 0).flush);
    placement.Resume();
    const auto place = placement.Place(kCount, kRate, 224 * kMs, 0);
    EXPECT_TRUE(place.flush && place.discontinuity);
    EXPECT_EQ(place.start, 224 * kMs);
}

TEST(SoundPlacement, SoundWithoutAnyTimeIsNotPlayed) {
    SoundPlacement placement;
    EXPECT_EQ(placement.Place(kCount, kRate, std::nullopt, 0).skipped, kCount);
    EXPECT_EQ(placement.Place(kCount, kRate, 500 * kMs, 0).skipped, 0);
    EXPECT_EQ(placement.Place(kCount, kRate, std::nullopt, 0).start, 524 * kMs);
}

} // namespace
} // namespace vistrame::test
