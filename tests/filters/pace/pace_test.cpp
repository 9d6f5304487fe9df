// Machines that do not keep the pace, simulated.
#include <algorithm>

#include <gtest/gtest.h>

#include "filters/pace/field_rate.h"

namespace vistrame::test {
namespace {

constexpr std::int64_t kMs = kUnitsPerMillisecond;

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
