// Measures what the built player shows and plays, inside a session (tools/wine-session).
//
// usage: live_probe demo BUILD STREAMS           the demo of `make play`
//        live_probe matrix BUILD STREAMS [ROW]   every coding, demultiplexer, renderer and clock
//        live_probe timers BUILD STREAMS [ROW]   fade-in and stall watchdog
//        live_probe foreign BUILD STREAMS [ROW]  streams of other encoders and multiplexers
//
// BUILD is the product's build folder, STREAMS that of make-streams or make-foreign.
#include <cstdio>
#include <span>
#include <string_view>

#include "tests/live/parts.h"

int main(int count, char** words) {
    using namespace vistrame::live;
    struct Named {
        std::string_view name;
        Part part;
    };
    const std::span arguments(words, static_cast<std::size_t>(count));
    constexpr char kUsage[] = "live_probe demo|matrix|timers|foreign BUILD STREAMS [ROW]";
    for (const auto& [name, part] :
         {Named{"demo", RunDemo}, {"matrix", RunMatrix}, {"timers", RunTimers}, {"foreign", RunForeign}}) {
        if (count >= 2 && name == words[1]) {
            return RunPart(part, arguments.subspan(2), kUsage);
        }
    }
    std::fprintf(stderr, "usage: %s\n", kUsage);
    return 2;
}
