// Measures what the built player shows and plays, inside a session (tools/wine-session).
//
// usage: live_probe demo BUILD STREAMS           the demo of `make play`
//        live_probe matrix BUILD STREAMS [ROW]   every coding, demultiplexer, renderer and clock
//        live_probe timers BUILD STREAMS [ROW]   fade-in and stall watchdog
//        live_probe events BUILD STREAMS [ROW]   what happens to live streams
//
// BUILD is the product's build folder, STREAMS that of make-streams.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string_view>

#include "tests/live/parts.h"

namespace vistrame::live {
namespace {

int Main(std::span<char*> words) {
    const std::string_view what = words.size() > 1 ? words[1] : "";
    struct Part {
        std::string_view name;
        bool (*run)(const Surroundings& where, SoundWatch& sound, std::size_t only);
    };
    constexpr Part kParts[] = {
        {"demo", RunDemo}, {"matrix", RunMatrix}, {"timers", RunTimers}, {"events", RunEvents}};
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
    std::fputs("usage: live_probe demo|matrix|timers|events BUILD STREAMS [ROW]\n", stderr);
    return 2;
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    return vistrame::live::Main({words, static_cast<std::size_t>(count)});
}
