// Does to a running player what happens to live streams, five times each at different places of the stream,
// and tells how long the picture held and how far sound and picture were apart afterwards. To be run inside a
// session (tools/wine-session) on a machine that does nothing else.
//
// usage: live_events BUILD STREAMS [ROW]
//
// BUILD is the product's build folder, STREAMS that of tests/live/make-streams. The exit code is 1 when a
// limit that the product sets itself was broken.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "tests/support/watch/programme_run.h"
#include "transport/packet.h"

namespace vistrame::live {
namespace {

constexpr int kTimes = 5;
constexpr Pid kVideoPid = 0x100; // of the first programme
constexpr double kPicture = 0.04;
constexpr double kGroup = 0.48;    // from one random-access picture to the next
constexpr double kLipSync = 0.080; // and from a second after the event on
constexpr double kRecovery = 1.0;
constexpr double kFirstPicture = 0.10; // behind the random-access picture's first packet
constexpr double kJump = 0.3;
constexpr double kBuilding = 0.15; // seconds that making a graph takes here
constexpr int kAttempts = 2;       // as in the matrix

std::string Line(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Line(const char* format, ...) {
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

// Seconds from the beginning of one of make-streams' files of 14 Mbit/s to each random-access picture of a
// PID.
std::vector<double> RandomAccessTimes(const std::string& file, Pid pid) {
    constexpr double kPacketsPerSecond = 14e6 / 8 / kPacketSize;
    std::ifstream stream(file, std::ios::binary);
    std::array<std::uint8_t, kPacketSize> bytes{};
    std::vector<double> times;
    for (double at = 0; stream.read(reinterpret_cast<char*>(bytes.data()), bytes.size()); ++at) {
        if (const PacketView packet(bytes); packet.PacketId() == pid && packet.RandomAccessIndicator()) {
            times.push_back(at / kPacketsPerSecond);
        }
    }
    return times;
}

// Seconds of the file from which on a random-access picture comes at once, spread over [from, to].
std::vector<double> Places(const std::vector<double>& randomAccess, double from, double to) {
    constexpr double kBefore = 0.03; // a PCR interval and a half: seek goes to the PCR behind
    std::vector<double> places;
    for (int i = 0; i < kTimes; ++i) {
        const double wanted = from + (to - from) * i / kTimes;
        const auto found = std::ranges::lower_bound(randomAccess, wanted);
        places.push_back((found == randomAccess.end() ? wanted : *found) - kBefore);
    }
    return places;
}

// When the event of each repetition happened, and what is looked at.
struct Measured {
    double value = 0;   // seconds
    double lipSync = 0; // worst from kRecovery on
    bool marks = false; // whether there was any
};

// `damaged`: single marks may be, too, so the middle one counts.
double WorstLipSync(const ProgrammeRun& run, double begin, double end, bool* marks, bool damaged = false) {
    std::vector<double> late;
    for (const LipSync& pair : LipSyncs(run, begin, end)) {
        late.push_back(pair.soundLate);
    }
    *marks = !late.empty();
    if (late.empty()) {
        return 0;
    }
    std::ranges::sort(late);
    if (damaged) {
        return late[late.size() / 2];
    }
    return std::abs(late.front()) > std::abs(late.back()) ? late.front() : late.back();
}

// First time after `time` that another numbered picture is shown.
double NextPicture(const ProgrammeRun& run, double time) {
    int shown = -1;
    for (const auto& [when, look] : run.screen) {
        if (look.number < 0) {
            continue;
        }
        if (when > time && look.number != shown) {
            return when;
        }
        shown = look.number;
    }
    return time + 99;
}

// How often a picture was seen behind a later one.
int Reversals(const ProgrammeRun& run, double begin, double end) {
    int last = -1;
    int count = 0;
    for (const auto& [when, look] : run.screen) {
        if (when >= begin && when <= end && look.number >= 0) {
            count += look.number < last ? 1 : 0;
            last = look.number;
        }
    }
    return count;
}

// How far the shown picture is behind, up to a constant: the clock minus the picture's own time.
double Delay(const ProgrammeRun& run, double time) {
    double delay = 0;
    for (const auto& [when, look] : run.screen) {
        if (when <= time && look.number >= 0) {
            delay = when - look.number * kPicture;
        }
    }
    return delay;
}

enum class Watched {
    kHold,  // the longest time the picture stood, from the event on
    kNext,  // from the event to the next picture
    kDelay, // how much later than before the event pictures are shown, two seconds behind it
};

struct Kind {
    const char* what;
    const char* stream;
    double limit;                               // seconds
    double watched;                             // seconds from the event on
    std::string (*before)(int i, double place); // script up to the event
    std::string (*event)(int i, double place);  // its first line takes place at the event
    double from, to;                            // places in the file
    Watched value;
    bool damaged = false; // what is seen and heard may be so, and marks with it
    int vmr9 = 1;
    bool ordered = false; // no picture may be seen again behind a later one
};

std::string Nothing(int /*i*/, double /*place*/) {
    return "";
}

// changes-*.ts: pictures of another kind from each of these seconds on.
constexpr double kChange = 6;
constexpr Kind Changing(const char* what, const char* stream, double watched, int vmr9) {
    return {
        what,
        stream,
        2.5 * kPicture, // one picture more than each is shown, and a look at the screen
        watched,
        [](int i, double) { return Line("+0 seek %.3f announced\n+2 mark before\n", kChange - 3 + 0.3 * i); },
        [](int, double) { return Line("+0 mark change\n"); },
        0,
        0,
        Watched::kHold,
        false,
        vmr9,
        true};
}

// live.ts: 30 s, and the same again an hour later. wrap.ts: its PCR wraps at second 10.
constexpr double kHalf = 30;
constexpr double kWrap = 10;

const Kind kKinds[] = {
    {"command 6 and no break", "live.ts", 3 * kPicture, 3.5,
     [](int i, double) { return Line("+%.2f mark before\n", 0.1 * i); },
     [](int, double) { return Line("+0 discontinuity\n"); }, 0, 0, Watched::kHold},
    {"jump with command 6 before it", "live.ts", 3 * kPicture, 3.5, Nothing,
     [](int, double place) { return Line("+0 seek %.3f announced\n", place); }, 3, 27, Watched::kHold},
    {"an hour forward, unannounced", "live.ts", kJump, 3.5,
     [](int i, double) { return Line("+0 seek %.3f announced\n+2.5 mark before\n", 3.0 + i); },
     [](int, double place) { return Line("+0 seek %.3f\n", place); }, kHalf + 2, kHalf + 25, Watched::kHold},
    {"10 s back, unannounced", "live.ts", kJump, 3.5,
     [](int, double place) { return Line("+0 seek %.3f announced\n+2.5 mark before\n", place + 10 - 2.5); },
     [](int, double place) { return Line("+0 seek %.3f\n", place); }, 2, 15, Watched::kHold},
    {"PCR and PTS wrap at 33 bits", "wrap.ts", kJump, 5.5,
     [](int i, double) { return Line("+0 seek %.3f announced\n+2 mark before\n", kWrap - 4 + 0.3 * i); },
     [](int, double) { return Line("+0 mark wrap\n"); }, 0, 0, Watched::kHold},
    {"0.5 % of the packets lost", "live.ts", kGroup + 0.1, 6,
     [](int i, double) { return Line("+0 lose 0\n+%.2f mark before\n", 1.5 + 0.1 * i); },
     [](int, double) { return Line("+0 lose 0.5%%\n"); }, 0, 0, Watched::kHold, true},
    {"a bit wrong in 0.5 % of the packets", "live.ts", kGroup + 0.1, 6,
     [](int i, double) { return Line("+0 damage 0\n+%.2f mark before\n", 1.5 + 0.1 * i); },
     [](int, double) { return Line("+0 damage 0.5%%\n"); }, 0, 0, Watched::kHold, true},
    {"3 s without data, then all at once", "live.ts", 0.3, 4,
     [](int i, double) { return Line("+%.2f stall\n+3 mark before\n", 0.1 * i); },
     [](int, double) { return Line("+0 resume backlog\n"); }, 0, 0, Watched::kNext},
    {"other PIDs for the programme", "pids.ts", kGroup + 0.1 + kBuilding, 4,
     [](int i, double) {
         return Line("+0 seek %.3f announced\n+0 command 0 0x01000110\n+3 mark before\n",
                     kWrap - 3 + 0.1 * i);
     },
     [](int, double) { return Line("+0 command 0 0x02000210\n"); }, 0, 0, Watched::kHold},
    {"10 s of pause, then Run: later than before", "live.ts", 0.3, 4,
     [](int i, double) { return Line("+%.2f mark delay\n+0 pause\n+10 mark before\n", 0.1 * i); },
     [](int, double) { return Line("+0 run\n"); }, 0, 0, Watched::kDelay},
    Changing("576i: 4:3 to 16:9, overlay", "changes-sd.ts", 3.5, 0),
    Changing("576i: 4:3 to 16:9, VMR9", "changes-sd.ts", 3.5, 1),
    Changing("576i to 1080i to 720p, overlay", "changes-hd.ts", 9.5, 0),
    Changing("576i to 1080i to 720p, VMR9", "changes-hd.ts", 9.5, 1),
};

std::vector<std::string> Options(std::size_t kind, int vmr9) {
    return {"--set", Line("UseVMR9=%d", vmr9),         "--set", "AudioUnmuteMsec=0",
            "--set", Line("KorvixCodec=%zu", kind % 2)};
}

// One line, and whether it is within limits.
bool Print(const char* what, const std::vector<Measured>& measured, double limit, double lipSyncLimit) {
    std::string values;
    std::string lipSyncs;
    bool right = true;
    for (const Measured& one : measured) {
        values += Line(" %5.2f", one.value);
        lipSyncs += one.marks ? Line(" %4.0f", one.lipSync * 1000) : "    -";
        right = right && one.value <= limit && one.marks && std::abs(one.lipSync) <= lipSyncLimit;
    }
    std::printf("%-44s %s  (at most %.2f s) | lip sync%s ms  %s\n", what, values.c_str(), limit,
                lipSyncs.c_str(), right ? "ok" : "WRONG");
    std::fflush(stdout);
    return right;
}

bool RunKind(const Paths& where, SoundWatch& sound, std::size_t index) {
    const Kind& kind = kKinds[index];
    const std::vector<double> places =
        Places(RandomAccessTimes(where.streams + "/" + kind.stream, kVideoPid), kind.from, kind.to);
    std::string script = "+0 play 1\n+0 wait picture 20\n+3 mark start\n";
    double length = 30;
    for (int i = 0; i < kTimes; ++i) {
        const double place = places[static_cast<std::size_t>(i)];
        script += kind.before(i, place) + Line("+0 mark event-%d\n", i) + kind.event(i, place) +
                  Line("+%.2f mark end-%d\n", kind.watched, i);
        length += kind.watched + 15;
    }
    const ProgrammeRun run =
        RunScript(where, sound, Options(index, kind.vmr9), script + "+0 quit\n", kind.stream, length);
    if (!run.failure.empty()) {
        std::printf("%-44s WRONG: %s\n", kind.what, run.failure.c_str());
        return false;
    }
    std::vector<Measured> measured;
    std::vector<double> delays;
    for (const LogLine& line : run.log) {
        if (line.text == "mark delay") {
            delays.push_back(line.time);
        }
    }
    for (int i = 0; i < kTimes; ++i) {
        const double event = run.Time(Line("mark event-%d", i));
        const double end = run.Time(Line("mark end-%d", i));
        Measured one;
        switch (kind.value) {
            case Watched::kHold:
                one.value =
                    run.Shown(event, end).longestHold + (kind.ordered ? Reversals(run, event, end) : 0);
                break;
            case Watched::kNext:
                one.value = NextPicture(run, event) - event;
                break;
            case Watched::kDelay:
                one.value = Delay(run, event + 2) - Delay(run, delays[static_cast<std::size_t>(i)]);
                break;
        }
        one.lipSync = WorstLipSync(run, event + kRecovery, end, &one.marks, kind.damaged);
        measured.push_back(one);
    }
    return Print(kind.what, measured, kind.limit, kLipSync);
}

// One selection; times from its being sent on.
struct Selected {
    double sent = 0, end = 0;
    double command = 0;      // the command took
    double randomAccess = 0; // the first random-access picture behind kNoFeed
    double picture = 99;     // seen
};

Selected ReadSelection(const ProgrammeRun& run, const LogLine& command, const LogLine& picture, int colour) {
    constexpr double kNoFeed = 0.03;     // the old feed filter is gone or going, the new one not there yet
    constexpr double kOldPicture = 0.05; // it is gone by then
    Selected selected;
    selected.command = Value(command.text, "msec ") / 1000;
    selected.sent = command.time - selected.command;
    std::size_t at = picture.text.find("random-access-msec ");
    at = at == std::string::npos ? at : picture.text.find(' ', at);
    for (; at != std::string::npos && selected.randomAccess < kNoFeed; at = picture.text.find(',', at + 1)) {
        selected.randomAccess = std::strtod(picture.text.c_str() + at + 1, nullptr) / 1000;
    }
    for (const auto& [when, look] : run.screen) {
        if (when > selected.sent + kOldPicture && (look.Near(colour) || look.flash != Look::Flash::kNone)) {
            selected.picture = when - selected.sent;
            break;
        }
    }
    return selected;
}

bool CheckSelection(const ProgrammeRun& run, std::size_t number, const Selected& selected) {
    const double first = selected.sent + selected.picture;
    const SoundWatch::Piece piece = run.sound.Cut(selected.sent + selected.command, selected.end);
    const double tone = ToneEnvelope(piece, kTones[number % 2]).Onset() - first;
    bool marks = false;
    const double lipSync = WorstLipSync(run, first + kRecovery, selected.end - 0.3, &marks);
    const double over = selected.picture - selected.randomAccess;
    const bool ok = over <= kFirstPicture && tone <= 0.3 && marks && std::abs(lipSync) <= kLipSync;
    std::printf("  %2zu %8.0f ms %6.0f ms %6.0f ms | %4.0f ms | %4.0f ms | %4.0f ms  %s\n", number,
                selected.randomAccess * 1000, selected.command * 1000, selected.picture * 1000, over * 1000,
                tone * 1000, lipSync * 1000, ok ? "ok" : "WRONG");
    return ok;
}

// Selections at places all over the group of pictures.
bool RunSelections(const Paths& where, SoundWatch& sound) {
    constexpr int kColours[] = {0x209838, 0x2840C8}; // by programme of live.ts
    std::string script = "+0 play 1\n+0 wait picture 20\n+3 mark start\n";
    for (int i = 0; i < 2 * kTimes; ++i) {
        script += Line("+%.2f play %d\n+0 wait picture 20\n+3 mark end-%d\n", 0.07 * i, 2 - i % 2, i);
    }
    const ProgrammeRun run = RunScript(where, sound, Options(0, 1), script + "+0 quit\n", "live.ts", 90);
    std::printf("SetPid %s\n  random access, command, picture | over it | tone after | lip sync\n",
                run.failure.c_str());
    std::vector<Selected> selections;
    const LogLine* command = nullptr;
    for (const LogLine& line : run.log) {
        if (line.text.starts_with("command SetPid")) {
            command = &line;
        } else if (line.text.starts_with("picture ") && command != nullptr) {
            const Selected selected = ReadSelection(run, *command, line, kColours[selections.size() % 2]);
            if (!selections.empty()) {
                selections.back().end = selected.sent;
            }
            selections.push_back(selected);
            selections.back().end = run.log.back().time;
        }
    }
    bool right = run.failure.empty() && selections.size() == 1 + 2 * kTimes;
    for (std::size_t i = 0; i < selections.size(); ++i) {
        const bool ok = CheckSelection(run, i, selections[i]);
        right = right && (ok || i == 0); // the first also loads and starts everything
    }
    return right;
}

bool RunEvents(const Paths& where, SoundWatch& sound, std::size_t only) {
    bool right = true;
    if (only == 0 || only == 1) {
        right = RunSelections(where, sound);
    }
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
        bool ok = only != 0 && only != i + 2;
        for (int attempt = 0; !ok && attempt < kAttempts; ++attempt) {
            ok = RunKind(where, sound, i);
        }
        right = right && ok;
    }
    return right;
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    return vistrame::live::RunPart(vistrame::live::RunEvents,
                                   std::span(words, static_cast<std::size_t>(count)).subspan(1),
                                   "live_events BUILD STREAMS [ROW]");
}
