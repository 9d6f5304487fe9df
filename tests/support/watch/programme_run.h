#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tests/support/watch/screen_watch.h"
#include "tests/support/watch/shown_pictures.h"
#include "tests/support/watch/sound_marks.h"
#include "tests/support/watch/sound_watch.h"

namespace vistrame::live {

// Where things are.
struct Paths {
    std::string build;   // of the product
    std::string streams; // of tests/live/make-streams
};

inline constexpr int kAreaWidth = 480;
inline constexpr int kAreaHeight = 270;

struct LogLine {
    double time = 0;  // to a few milliseconds
    std::string text; // behind the log's own time
};

// One run of the analyzer, seen and heard. Times are of Now().
struct ProgrammeRun {
    std::string failure; // nothing, or the analyzer's own line and exit code
    std::vector<LogLine> log;
    std::vector<ScreenWatch::Change> screen;
    SoundWatch::Piece sound;
    double blink = 0; // the longest time without a look at the screen

    // When the log first says this; 0 when it never does.
    double Time(const std::string& begin) const;
    // What it says behind `begin`.
    std::string Rest(const std::string& begin) const;
    ShownPictures Shown(double begin, double end) const;
};
// The analyzer of the build under test carries out a script, which is ended when it takes longer than
// `limit`. Only its log is read.
ProgrammeRun FollowScript(const Paths& where, const std::vector<std::string>& options,
                          const std::string& script, const std::string& stream, double limit);
// The same, seen and heard.
ProgrammeRun RunScript(const Paths& where, SoundWatch& sound, const std::vector<std::string>& options,
                       const std::string& script, const std::string& stream, double limit = 60,
                       int colourRow = kAreaHeight / 2);

// Does something with the filters of the build under test registered in the session's Wine. False as well
// when they cannot be.
bool WithFilters(const Paths& where, const std::function<bool()>& work);

// Runs a part with them, listening to the session's sink. `words`: BUILD STREAMS [ROW]. The program's exit
// code; 2, with the usage, where these are missing.
using Part = bool (*)(const Paths& where, SoundWatch& sound, std::size_t only);
int RunPart(Part part, std::span<char*> words, const char* usage);

// Whether every row of a table, or the only one asked for (from 1 on; 0: all), is right. All are run.
template <typename Row, std::size_t kCount, typename Run>
bool RunTable(const Row (&rows)[kCount], std::size_t only, const Run& run) {
    bool right = true;
    for (std::size_t i = 0; i < kCount; ++i) {
        right = ((only != 0 && only != i + 1) || run(rows[i])) && right;
    }
    return right;
}

// Tries a measurement up to three times and prints why again: a sound server or a player that other programs
// keep from running for some milliseconds loses its timing for seconds. The only place where anything here is
// tried again. `measure` answers what was wrong, or nothing; so does this.
std::string UntilRight(const std::string& name, const std::function<std::string()>& measure);

// A flash and the beep that belongs to it.
struct LipSync {
    double time = 0;
    double soundLate = 0; // seconds from the flash to the beep
};
std::vector<LipSync> LipSyncs(const ProgrammeRun& run, double begin, double end);

// The number behind `key` in a log line; -1 when there is none.
double Value(const std::string& text, const std::string& key);

} // namespace vistrame::live
