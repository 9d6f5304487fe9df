// Senders and machines that do not keep the pace, simulated.
#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "filters/pace/delay_keeper.h"
#include "filters/pace/field_rate.h"
#include "filters/pace/sound_placement.h"

namespace vistrame::test {
namespace {

constexpr std::int64_t kMs = kUnitsPerMillisecond;
constexpr int kRate = 48'000;

// A live programme's way through demultiplexer and sound decoder to a device that runs as the system does.
TEST(SendersClock, IsFollowedBySoundWithoutACut) {
    struct Row {
        int ppm; // of the sender's clock
        int minutes;
        bool graphFollows; // the graph's clock runs as the sender's
    };
    const Row rows[] = {{0, 3, false},     {300, 20, false}, {-300, 20, false}, {1000, 3, false},
                        {-1000, 3, false}, {1000, 3, true},  {-1000, 3, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.ppm << " ppm, graph follows: " << row.graphFollows);
        std::minstd_rand random(1); // NOLINT(cert-msc51-cpp): the same jitter in every run
        DelayKeeper keeper;
        SoundPlacement placement;
        ClockFollower follower{8 * kUnitsPerSecond, DelayKeeper::kMaxRate};
        const double sender = 1 + row.ppm / 1e6;
        std::int64_t offset = 600 * kMs;
        double frames = 0; // due from the resampler, with the part that is not a whole one yet
        std::int64_t worst = 0, least = offset, most = offset;
        double fastest = 0;
        for (std::int64_t pts = 0; pts < row.minutes * 60 * kUnitsPerSecond; pts += 24 * kMs) {
            const auto system = std::llround(static_cast<double>(pts) / sender) +
                                static_cast<std::int64_t>(random() % 300'000); // a pipe's jitter
            const std::int64_t graph =
                row.graphFollows ? std::llround(static_cast<double>(system) * sender) : system;
            offset += keeper.Correct(pts + offset - graph, graph);
            const std::int64_t delay = // without the jitter
                pts + offset - (row.graphFollows ? pts : std::llround(static_cast<double>(pts) / sender));
            least = std::min(least, delay);
            most = std::max(most, delay);

            frames += 1152 * (1 - follower.Rate());
            const auto count = static_cast<std::int64_t>(frames);
            frames -= static_cast<double>(count);
            const std::int64_t ahead = system - graph;
            const auto place = placement.Place(count, kRate, pts + offset + ahead, system);
            (void)follower.Update(-place.off, 24 * kMs);
            ASSERT_TRUE(pts == 0 || (place.skipped == 0 && place.silence == 0 && !place.discontinuity))
                << pts;
            worst = std::max(worst, std::abs(place.off));
            fastest = std::max(fastest, std::abs(follower.Rate()));
        }
        EXPECT_LT(worst, 8 * kMs) << "between sound and picture";
        EXPECT_LT(most - least, 40 * kMs) << "delay to the live edge";
        EXPECT_LE(fastest, 0.001) << "pitch";
        EXPECT_NEAR(follower.Rate() * 1e6, row.ppm, 120);
    }
}

// Handing a picture over takes time; the renderer has buffers for 80 ms.
TEST(FieldRate, GivesWayToASlowMachineAndComesBack) {
    struct Row {
        const char* what;
        std::int64_t cost;        // of a picture, from second 20 on
        std::int64_t slowSeconds; // so long
        int changes;              // of the rate in 500 s
        bool fieldsAtLast;
    };
    const Row rows[] = {{"fast enough", 18 * kMs, 480, 0, true},
                        {"slow for a while", 25 * kMs, 20, 4, true},
                        {"slow for good", 25 * kMs, 480, 11, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        FieldRate rate;
        std::int64_t now = 0, latest = 0;
        int changes = 0;
        for (std::int64_t due = 100 * kMs; due < 500 * kUnitsPerSecond;) {
            const bool slow = due >= 20 * kUnitsPerSecond && due < (20 + row.slowSeconds) * kUnitsPerSecond;
            now = std::max(now, due - 80 * kMs) + (slow ? row.cost : 5 * kMs);
            const bool fields = rate.Fields();
            rate.Handed(due, now);
            changes += fields != rate.Fields() ? 1 : 0;
            latest = std::max(latest, now - due);
            due += (rate.Fields() ? 20 : 40) * kMs;
        }
        EXPECT_EQ(changes, row.changes);
        EXPECT_LT(latest, 450 * kMs);
        EXPECT_EQ(rate.Fields(), row.fieldsAtLast);
    }
}

} // namespace
} // namespace vistrame::test
