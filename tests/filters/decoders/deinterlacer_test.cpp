#include "filters/decoders/deinterlacer.h"

#include <cmath>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame::test {

namespace {

constexpr int kWidth = 198; // neither vectors nor their tails alone
constexpr int kHeight = 96;
constexpr std::int64_t kMs = kUnitsPerMillisecond;

// A picture of 50/s: rings, still on the left, moving on the right.
int Source(int n, int x, int y) {
    const double right = x >= kWidth / 2 ? x - kWidth * 0.75 + n * 1.5 : x - kWidth / 4;
    return static_cast<int>(std::lround(128 + 100 * std::cos((right * right + y * y) / 150)));
}

// Two of them as the fields of one.
struct Frame {
    Frame(int number, bool topFirst)
        : luma(kWidth * kHeight), chroma(kWidth / 2 * kHeight / 2, std::uint8_t{128}) {
        for (int y = 0; y < kHeight; ++y) {
            const int n = 2 * number + ((y % 2 == 0) == topFirst ? 0 : 1);
            for (int x = 0; x < kWidth; ++x) {
                luma[y * kWidth + x] = static_cast<std::uint8_t>(Source(n, x, y));
            }
        }
        picture.format = AV_PIX_FMT_YUV420P;
        picture.width = kWidth;
        picture.height = kHeight;
        picture.interlaced = true;
        picture.topFieldFirst = topFirst;
        picture.planes = {luma.data(), chroma.data(), chroma.data()};
        picture.strides = {kWidth, kWidth / 2, kWidth / 2};
        picture.start = number * 40 * kMs;
    }
    std::vector<std::uint8_t> luma, chroma;
    Picture picture;
};

struct Seen {
    Picture picture;
    double error = 0;   // mean square, against the source of its moment
    double doubled = 0; // the same of the field's lines and their means
};

struct Watched {
    std::vector<Seen> seen;
    Deinterlacer deinterlacer{[this](const Picture& picture) {
        Seen one{picture};
        const auto n = static_cast<int>(picture.start.value_or(0) / (20 * kMs));
        for (int y = 2; y < kHeight - 2; ++y) {
            const bool own = (y % 2 == 0) == (picture.topFieldFirst == (n % 2 == 0));
            for (int x = 0; x < kWidth; ++x) {
                const int source = Source(n, x, y);
                const int mean = own ? source : (Source(n, x, y - 1) + Source(n, x, y + 1) + 1) / 2;
                one.error += std::pow(picture.planes[0][y * picture.strides[0] + x] - source, 2);
                one.doubled += std::pow(mean - source, 2);
            }
        }
        seen.push_back(one);
    }};
};

} // namespace

TEST(Deinterlacer, EveryFieldBecomesAPictureMuchNearerToItsSourceThanDoubledLines) {
    for (const bool topFirst : {true, false}) {
        Watched run;
        for (int i = 0; i < 6; ++i) {
            run.deinterlacer.Push(Frame(i, topFirst).picture, Deinterlacer::Rate::kFields);
            EXPECT_EQ(run.seen.size(), 2u * i) << "one picture is held";
        }
        run.deinterlacer.Drain();
        ASSERT_EQ(run.seen.size(), 12u);
        for (int n = 0; n < 12; ++n) {
            SCOPED_TRACE(n);
            const Seen& one = run.seen[n];
            EXPECT_EQ(one.picture.start, n * 20 * kMs);
            EXPECT_EQ(one.picture.duration, 20 * kMs);
            EXPECT_FALSE(one.picture.interlaced);
            // The first and the last have no neighbour on one side.
            EXPECT_LT(one.error, n > 0 && n < 11 ? one.doubled / 2 : one.doubled * 1.1);
        }
    }
}

TEST(Deinterlacer, WhatIsHeldComesOutBeforeWhatItDoesNotBelongTo) {
    using Rate = Deinterlacer::Rate;
    const auto starts = [](const Watched& run) {
        std::vector<std::int64_t> all;
        for (const Seen& one : run.seen) {
            all.push_back(one.picture.start.value_or(-kMs) / kMs);
        }
        return all;
    };
    Watched run;
    Frame progressive(1, true);
    progressive.picture.interlaced = false;
    run.deinterlacer.Push(Frame(0, true).picture, Rate::kFields);
    run.deinterlacer.Push(progressive.picture, Rate::kFields);
    EXPECT_EQ(starts(run), (std::vector<std::int64_t>{0, 20, 40})) << "progressive ones at once";
    EXPECT_EQ(run.seen[2].picture.planes, progressive.picture.planes) << "and untouched";
    for (int i = 2; i < 5; ++i) {
        run.deinterlacer.Push(Frame(i, true).picture, i < 3 ? Rate::kFields : Rate::kPictures);
    }
    EXPECT_EQ(starts(run), (std::vector<std::int64_t>{0, 20, 40, 80, 120})) << "the rate changes behind 80";
    run.deinterlacer.Push(Frame(40, true).picture, Rate::kPictures);
    EXPECT_EQ(run.seen.size(), 6u) << "a break in time";
    Frame still(41, true);
    still.picture.start.reset();
    run.seen.clear();
    run.deinterlacer.PushAlone(still.picture);
    EXPECT_EQ(starts(run), (std::vector<std::int64_t>{-1})) << "alone: at once, and what was held is gone";
    run.deinterlacer.Drain();
    EXPECT_EQ(run.seen.size(), 1u);
}

} // namespace vistrame::test
