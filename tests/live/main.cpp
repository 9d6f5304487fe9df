// Measures what the built player shows and plays, inside a session (tools/wine-session).
//
// usage: live_probe watch SECONDS                what happens on the screen and at the sound sink, event by event
//        live_probe matrix BUILD STREAMS [ROW]   every coding, demultiplexer, renderer and clock
//        live_probe timers BUILD STREAMS         fade-in and stall watchdog
//        live_probe live BUILD STREAMS [ROW]     what happens to live streams
//
// BUILD is the product's build folder, STREAMS that of make-streams.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/live/live.h"
#include "tests/live/matrix.h"
#include "tests/live/programme_run.h"
#include "tests/live/timers.h"

namespace vistrame::live {
namespace {

const char* FlashName(Look::Flash flash) {
    return flash == Look::Flash::kNone ? "" : flash == Look::Flash::kWhite ? " white" : " cyan";
}

// Everything on one clock, in its order.
int Watch(SoundWatch& sound, double seconds) {
    const double begin = Now();
    const ScreenWatch screen(kAreaWidth, kAreaHeight);
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    const SoundWatch::Piece piece = sound.Since(begin);
    std::vector<std::pair<double, std::string>> events;
    char text[100];
    for (const auto& [time, look] : screen.Changes()) {
        std::snprintf(text, sizeof text, "picture %4d  %3d %3d %3d%s", look.number, look.red, look.green,
                      look.blue, FlashName(look.flash));
        events.emplace_back(time, text);
    }
    for (const Beep& beep : Beeps(piece)) {
        events.emplace_back(beep.time, beep.odd ? "beep 4000 Hz" : "beep 3000 Hz");
    }
    constexpr std::size_t kLength = SoundWatch::kRate / 10;
    for (std::size_t at = 0; at + kLength <= piece.samples.size(); at += kLength) {
        const auto from = piece.samples.begin() + static_cast<std::ptrdiff_t>(at);
        const SoundWatch::Piece part{piece.begin + static_cast<double>(at) / SoundWatch::kRate,
                                     {from, from + static_cast<std::ptrdiff_t>(kLength)}};
        const Tone tone = FindTone(part);
        std::snprintf(text, sizeof text, tone.index < 0 ? "silence" : "tone %.1f Hz", tone.hertz);
        events.emplace_back(part.begin, text);
    }
    std::ranges::sort(events);
    for (const auto& [time, what] : events) {
        std::printf("%9.3f %s\n", time - begin, what.c_str());
    }
    return 0;
}

int Main(std::span<char*> words) {
    const std::string_view what = words.size() > 1 ? words[1] : "";
    if (what == "watch" && words.size() == 3) {
        SoundWatch sound;
        return Watch(sound, std::strtod(words[2], nullptr));
    }
    struct Part {
        std::string_view name;
        bool (*run)(const Surroundings& where, SoundWatch& sound, std::size_t only);
    };
    constexpr Part kParts[] = {{"matrix", RunMatrix}, {"timers", RunTimers}, {"live", RunLive}};
    const auto* const part = std::ranges::find(kParts, what, &Part::name);
    if (part != std::end(kParts) && (words.size() == 4 || words.size() == 5)) {
        const Surroundings where{words[2], words[3]};
        if (!RegisterFilters(where.build, true)) {
            std::fputs("vistrame.ax cannot be registered\n", stderr);
            return 1;
        }
        SoundWatch sound;
        const bool right =
            part->run(where, sound, words.size() == 5 ? std::strtoul(words[4], nullptr, 10) : 0);
        (void)RegisterFilters(where.build, false); // the session is at its end, or the next test sees to it
        return right ? 0 : 1;
    }
    std::fputs("usage: live_probe watch SECONDS | matrix|timers|live BUILD STREAMS [ROW]\n", stderr);
    return 2;
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    return vistrame::live::Main({words, static_cast<std::size_t>(count)});
}
