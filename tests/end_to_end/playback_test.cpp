// The main job: the demo stream of `make play`, by the script of `make play`, seen on the screen and heard at
// the sink.
#include <algorithm>
#include <iostream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/end_to_end/analyzer_run.h"
#include "tests/end_to_end/screen_picture.h"
#include "tests/end_to_end/sound_capture.h"
#include "tests/end_to_end/tone_track.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

constexpr DWORD kStartMsec = 30'000; // Wine, player and graph on a busy machine
// As the stream's maker draws them, and what colour coding and a decoder may make of that.
constexpr Rgb kRed{0xC0, 0x28, 0x18};
constexpr Rgb kBlue{0x18, 0x38, 0xC0};
constexpr int kTolerance = 24;
// The pattern moves between 60 and 660 of 720 and between 68 and 508 of 576: the border is the programme's
// alone.
constexpr ScreenPicture::Part kBorders[] = {
    {0, 0, 1000, 100}, {0, 900, 1000, 1000}, {0, 0, 70, 1000}, {930, 0, 1000, 1000}};
constexpr ScreenPicture::Part kWhole{0, 0, 1000, 1000};
// Columns of the moving pattern, each a sixth of 400 x 320 pixels with things drawn over it.
constexpr Rgb kColumns[] = {{255, 0, 0}, {0, 255, 0},   {255, 255, 0},
                            {0, 0, 255}, {255, 0, 255}, {0, 255, 255}};
constexpr double kColumnShare = 400.0 * 320 / 6 / (720 * 576);

void ExpectProgramme(const ScreenPicture& picture, Rgb border) {
    ASSERT_EQ(picture.Width(), 720);
    ASSERT_EQ(picture.Height(), 576);
    for (const ScreenPicture::Part& part : kBorders) {
        const Rgb mean = picture.Mean(part);
        EXPECT_GT(picture.Share(part, border, kTolerance), 0.98)
            << part.left << ',' << part.top << " is " << mean.red << ' ' << mean.green << ' ' << mean.blue;
    }
    for (const Rgb& column : kColumns) {
        EXPECT_GT(picture.Share(kWhole, column, 40), kColumnShare / 4)
            << column.red << ' ' << column.green << ' ' << column.blue;
    }
}

struct Seen {
    std::vector<ScreenPicture> pictures; // two of each programme, some pictures apart
};

void ExpectProgrammes(const Seen& seen) {
    ASSERT_EQ(seen.pictures.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        ExpectProgramme(seen.pictures[i], i < 2 ? kRed : kBlue);
    }
    EXPECT_GT(seen.pictures[0].Difference(seen.pictures[1]), 0.005) << "the picture stands still";
    EXPECT_GT(seen.pictures[2].Difference(seen.pictures[3]), 0.005) << "the picture stands still";
}

// 440 Hz, then 880 Hz, and no silence within either that is longer than the one between them.
void ExpectTones(const Sound& sound) {
    const ToneTrack track(sound, 440, 880);
    const auto first = track.Where(0);
    const auto second = track.Where(1);
    ASSERT_TRUE(first && second) << "a tone is missing in " << sound.samples.size() << " samples";
    const double gap = second->begin - first->end;
    EXPECT_GE(gap, 0) << "the tones overlap";
    EXPECT_LT(gap, 15) << "the script waits no longer for a picture";
    EXPECT_GT(first->end - first->begin, 1.5);
    EXPECT_GT(second->end - second->begin, 2.5);
    const double within = std::max(track.LongestSilence(*first), track.LongestSilence(*second));
    EXPECT_LT(within, std::max(gap, ToneTrack::kStep));
    // The fade-in takes 1.6 s: the last second is as loud as it gets.
    const ToneTrack::Span ends[] = {{first->end - 1, first->end}, {second->end - 1, second->end}};
    EXPECT_NEAR(track.Hertz(ends[0]), 440, 3);
    EXPECT_NEAR(track.Hertz(ends[1]), 880, 6);
    EXPECT_GT(track.Level(ends[0]), 0.1);
    EXPECT_GT(track.Level(ends[1]), 0.1);
    std::cout << "switch: " << gap << " s without a tone; longest silence within a programme: " << within
              << " s" << std::endl;
}

TEST(Playback, TheDemoShowsAndSoundsOneProgrammeAfterTheOther) {
    const RegisteredFilters filters;
    SoundCapture capture;
    AnalyzerRun run({"--set", "UseVMR9=1", "--script", VISTRAME_DEMO_SCRIPT, VISTRAME_DEMO_STREAM});
    Seen seen;
    for (const char* mark : {"mark programme-1", "mark programme-2"}) {
        if (run.WaitForLine(mark, kStartMsec)) {
            seen.pictures.emplace_back(AnalyzerRun::PlayerArea());
            Sleep(200); // five pictures of the stream
            seen.pictures.emplace_back(AnalyzerRun::PlayerArea());
        }
    }
    EXPECT_EQ(run.WaitForExit(kStartMsec), 0U) << run.Error() << run.Log();
    const Sound& sound = capture.Stop();
    ExpectProgrammes(seen);
    ExpectTones(sound);
    const std::string report = run.Report();
    EXPECT_THAT(report,
                HasSubstr("programme 1 name \"Vistrame Red\" pmt 0x1000 pcr 0x0101, video 0x0101 MPEG-2 "
                          "video, audio 0x0102 MPEG audio eng\n"));
    EXPECT_THAT(report, HasSubstr("programme 2 name \"Vistrame Blue\""));
    EXPECT_THAT(report, HasSubstr("picture programme 1 video 0x0101 audio 0x0102 msec "));
    EXPECT_THAT(report, HasSubstr("picture programme 2 video 0x0201 audio 0x0202 msec "));
    EXPECT_THAT(report, HasSubstr("player-exit 0x00000000\nexit 0\n"));
    EXPECT_EQ(run.Error(), "");
}

} // namespace
} // namespace vistrame::test
