#include "tests/live/parts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string>
#include <vector>

namespace vistrame::live {
namespace {

constexpr double kWatched = 5.5;      // seconds of each row, from the first picture on
constexpr double kLipSync = 0.080;    // |sound - picture| at most
constexpr double kLipSyncAfter = 1.0; // seconds from the first picture on that may be needed for it
constexpr double kHold = 0.5;         // a picture may stand that long on a machine that does other things too
constexpr int kLost = 5;              // of some 110 pictures, likewise; a road that loses some loses ten

// What codings look and sound like is known by make-streams.
struct Row {
    const char* stream;
    int programme;
    int video, audio; // codings
    int korvix, vmr9, clock;
    int colour;
    double soundLate = 0; // by the stream's own times, seconds
};

constexpr int kColours[] = {0xC02818, 0x209838, 0x2840C8, 0xB028A0};
constexpr const char* kVideoNames[] = {"MPEG-2", "H.264", "HEVC"};
constexpr const char* kAudioNames[] = {"MP2", "AC-3", "AAC", "E-AC-3"};

constexpr Row Small(int video, int audio, int korvix, int vmr9, int clock) {
    return {"small.ts", video * 4 + audio + 1, video, audio, korvix, vmr9, clock, video};
}

// Any two choices of two columns meet in some row.
constexpr std::array kRows{
    //    video audio demultiplexer renderer clock
    Small(0, 0, 0, 0, 0),
    Small(1, 0, 1, 0, 1),
    Small(2, 0, 0, 1, 2),
    Small(0, 0, 1, 1, 3),
    Small(1, 1, 0, 1, 0),
    Small(2, 1, 1, 1, 1),
    Small(0, 1, 0, 0, 2),
    Small(1, 1, 1, 0, 3),
    Small(2, 2, 1, 0, 0),
    Small(0, 2, 0, 0, 1),
    Small(1, 2, 1, 1, 2),
    Small(2, 2, 0, 1, 3),
    Small(0, 3, 1, 1, 0),
    Small(1, 3, 0, 1, 1),
    Small(2, 3, 1, 0, 2),
    Small(0, 3, 0, 0, 3),
    Row{"adts.ts", 1, 1, 2, 0, 1, 0, 1}, // the other frame of AAC, through both demultiplexers
    Row{"adts.ts", 1, 1, 2, 1, 0, 1, 1},
    Row{"large.ts", 1, 0, 1, 1, 1, 1, 3}, // 576i
    Row{"large.ts", 2, 1, 2, 0, 0, 2, 1}, // 720p
    Row{"large.ts", 3, 1, 0, 1, 1, 0, 3}, // 1080i
    Row{"large.ts", 4, 2, 3, 0, 1, 3, 2}, // 1080p
};

// What make-foreign makes; each is played through both demultiplexers.
struct Foreign {
    const char* stream;
    int video, audio; // codings
    int colour;
    double soundLate = 0; // seconds that its own times put the sound behind the picture
};
constexpr double kMerged = -0.5; // esmerge shows pictures half a second after their time
// The encoder of HE-AAC begins with that much of nothing.
constexpr double kVersion1 = 0.105, kVersion2 = 0.148;
constexpr std::array kForeign{
    Foreign{"mjpegtools.ts", 0, 0, 0},
    Foreign{"mjpegtools-576i.ts", 0, 0, 3},
    Foreign{"mjpegtools-film.ts", 0, 0, 0},
    Foreign{"mjpegtools-ac3.ts", 0, 1, 0},
    Foreign{"mjpegtools-mp1.ts", 0, 0, 0},
    Foreign{"gst-mpeg2.ts", 0, 0, 0},
    Foreign{"gst-mpeg2-mp3.ts", 0, 0, 0},
    Foreign{"gst-x264-aac.ts", 1, 2, 1},
    Foreign{"gst-x264-ac3.ts", 1, 1, 1},
    Foreign{"gst-x264-heaac1.ts", 1, 2, 1, kVersion1},
    Foreign{"gst-x264-heaac2.ts", 1, 2, 1, kVersion2},
    Foreign{"ff-x264-heaac1.ts", 1, 2, 1, kVersion1},
    Foreign{"ff-x264-heaac2.ts", 1, 2, 1, kVersion2},
    Foreign{"ff-x264-eac3.ts", 1, 3, 1},
    Foreign{"gst-openh264-aac.ts", 1, 2, 1},
    Foreign{"gst-x265-mp3.ts", 2, 0, 2},
    Foreign{"gst-x265-nowpp.ts", 2, 0, 2},
    Foreign{"esmerge-mp2.ts", 1, 0, 1, kMerged},
    Foreign{"esmerge-aac.ts", 1, 2, 1, kMerged},
    Foreign{"esmerge-ac3.ts", 1, 1, 1, kMerged},
    Foreign{"vlc-x264.ts", 1, 0, 1},
    Foreign{"vlc-x264-ac3.ts", 1, 1, 1},
    Foreign{"mencoder.ts", 0, 0, 0},
};

struct Result {
    std::string wrong; // nothing when the row is right
    double firstPicture = -1, overRandomAccess = 0, soundAfterPicture = 0;
    double lipSyncMiddle = 0, lipSyncWorst = 0;
    std::size_t lipSyncs = 0;
    double hold = 0;
    int lost = 0;
    double hertz = 0;
};

void CheckPicture(const Row& row, const ProgrammeRun& run, double begin, double end, Result& result) {
    double right = 0;
    double other = 0;
    for (std::size_t i = 0; i + 1 < run.screen.size(); ++i) {
        const Look& look = run.screen[i].look;
        const double shown =
            std::clamp(run.screen[i + 1].time, begin, end) - std::clamp(run.screen[i].time, begin, end);
        if (look.flash == Look::Flash::kNone) {
            (look.Near(kColours[row.colour]) ? right : other) += shown;
        }
    }
    if (right < 20 * other || right == 0) {
        result.wrong += " colour";
    }
    const ShownPictures shown = run.Shown(begin + kLipSyncAfter, end);
    result.hold = shown.longestHold;
    result.lost = shown.lost;
    if (result.hold > kHold || result.lost > kLost) {
        result.wrong += " motion";
    }
}

void CheckSound(const Row& row, const ProgrammeRun& run, double picture, Result& result) {
    const Tone tone = FindTone(run.sound);
    result.hertz = tone.hertz;
    if (tone.index != row.audio || std::abs(tone.hertz - kTones[row.audio]) > kTones[row.audio] / 100) {
        result.wrong += " tone";
    }
    result.soundAfterPicture = ToneEnvelope(run.sound, kTones[row.audio]).Onset() - picture;
}

void CheckLipSync(const ProgrammeRun& run, double begin, double end, double soundLate, Result& result) {
    const std::vector<LipSync> pairs = LipSyncs(run, begin + kLipSyncAfter, end);
    std::vector<double> late;
    late.reserve(pairs.size());
    for (const LipSync& pair : pairs) {
        late.push_back(pair.soundLate - soundLate);
    }
    result.lipSyncs = late.size();
    if (late.size() < 3) {
        result.wrong += " marks";
        return;
    }
    std::ranges::sort(late);
    result.lipSyncMiddle = late[late.size() / 2];
    result.lipSyncWorst = std::abs(late.front()) > std::abs(late.back()) ? late.front() : late.back();
    if (std::abs(result.lipSyncWorst) > kLipSync) {
        result.wrong += " lip-sync:";
        for (const LipSync& pair : pairs) {
            char text[40];
            std::snprintf(text, sizeof text, " %.0f@%.1fs", pair.soundLate * 1000, pair.time - begin);
            result.wrong += text;
        }
    }
}

Result Play(const Row& row, const Paths& where, SoundWatch& sound) {
    const std::vector<std::string> options{"--clock-source", std::to_string(row.clock),
                                           "--set",          "KorvixCodec=" + std::to_string(row.korvix),
                                           "--set",          "UseVMR9=" + std::to_string(row.vmr9),
                                           "--set",          "AudioUnmuteMsec=0"};
    char script[160];
    std::snprintf(script, sizeof script, "+0 play %d\n+0 wait picture 20\n+%.1f mark end\n+0 quit\n",
                  row.programme, kWatched);
    const ProgrammeRun run = RunScript(where, sound, options, script, row.stream);
    Result result;
    if (!run.failure.empty()) {
        result.wrong = " " + run.failure;
        for (const LogLine& line : run.log) {
            result.wrong += "\n        " + line.text;
        }
        return result;
    }
    const double picture = run.Time("command SetPid") - Value(run.Rest("command SetPid"), "msec ") / 1000 +
                           Value(run.Rest("picture "), "msec ") / 1000;
    const double end = run.Time("mark end");
    result.firstPicture = Value(run.Rest("picture "), " msec ") / 1000;
    result.overRandomAccess = result.firstPicture - Value(run.Rest("picture "), "random-access-msec ") / 1000;
    CheckPicture(row, run, picture, end, result);
    CheckSound(row, run, picture, result);
    CheckLipSync(run, picture, end, row.soundLate, result);
    if (run.blink > 0.1) {
        result.wrong += result.wrong.empty() ? "" : " (the screen was not looked at for a while)";
    }
    return result;
}

} // namespace

namespace {

bool RunRows(const Paths& where, SoundWatch& sound, std::size_t only, std::span<const Row> rows) {
    std::puts(
        "video   audio   demux    renderer clock | first picture, over  sound after | lip sync  worst of | "
        "held lost |    tone");
    bool right = true;
    for (const Row& row : rows) {
        if (only != 0 && &row != &rows[(only - 1) % rows.size()]) {
            continue;
        }
        Result result;
        (void)UntilRight(std::string(kVideoNames[row.video]) + " and " + kAudioNames[row.audio], [&] {
            result = Play(row, where, sound);
            return result.wrong;
        });
        std::printf(
            "%-7s %-7s %-8s %-8s %5d | %10.0f ms %4.0f ms %8.0f ms | %5.0f ms %3.0f ms %2zu | %4.0f %4d | "
            "%4.0f "
            "Hz  %s%s%s\n",
            kVideoNames[row.video], kAudioNames[row.audio], row.korvix != 0 ? "Korvix" : "platform",
            row.vmr9 != 0 ? "VMR9" : "overlay", row.clock, result.firstPicture * 1000,
            result.overRandomAccess * 1000, result.soundAfterPicture * 1000, result.lipSyncMiddle * 1000,
            result.lipSyncWorst * 1000, result.lipSyncs, result.hold * 1000, result.lost, result.hertz,
            row.stream, result.wrong.empty() ? " ok" : " WRONG:", result.wrong.c_str());
        std::fflush(stdout);
        right = right && result.wrong.empty();
    }
    return right;
}

} // namespace

bool RunMatrix(const Paths& where, SoundWatch& sound, std::size_t only) {
    return RunRows(where, sound, only, kRows);
}

bool RunForeign(const Paths& where, SoundWatch& sound, std::size_t only) {
    std::vector<Row> rows;
    for (const Foreign& one : kForeign) {
        for (const int korvix : {0, 1}) {
            rows.push_back(
                {one.stream, 1, one.video, one.audio, korvix, 0, korvix, one.colour, one.soundLate});
        }
    }
    return RunRows(where, sound, only, rows);
}

} // namespace vistrame::live
