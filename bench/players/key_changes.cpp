#include "bench/players/key_changes.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "bench/players/command.h"
#include "bench/players/player_run.h"
#include "tests/support/watch/screen_watch.h"

namespace vistrame::bench {
namespace {

using live::Now;
using live::ScreenWatch;

constexpr std::array kColours = {0x209838, 0x2840C8}; // of the two programmes
constexpr double kPatience = 15;                      // seconds for a change
constexpr double kStart = 30;                         // for the first picture

void Sleep(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// The programme that is shown, as an index of kColours; -1 while a flash or nothing is.
int Shown(const ScreenWatch& screen) {
    const auto changes = screen.Changes();
    if (changes.empty() || changes.back().look.number < 0 ||
        changes.back().look.flash != live::Look::Flash::kNone) {
        return -1;
    }
    for (int i = 0; i < static_cast<int>(kColours.size()); ++i) {
        if (changes.back().look.Near(kColours.at(static_cast<std::size_t>(i)))) {
            return i;
        }
    }
    return -1;
}

int AwaitProgramme(const ScreenWatch& screen, int other, double patience) {
    for (const double begin = Now(); Now() - begin < patience; Sleep(0.002)) {
        if (const int shown = Shown(screen); shown >= 0 && shown != other) {
            return shown;
        }
    }
    return -1;
}

} // namespace

std::vector<KeyPlayer> KeyPlayers() {
    const std::string live =
        "ffmpeg -v quiet -nostdin -re -stream_loop -1 -i \"$1\" -map 0 -c copy -f mpegts - | ";
    return {
        {"ffplay",
         live + "SDL_RENDER_DRIVER=software ffplay -loglevel quiet -noborder -left 0 -top 0 -x 480 -y 270 -",
         "c"},
    };
}

std::vector<double> ChangesByKey(const KeyPlayer& player, const std::string& stream, int changes) {
    const ScreenWatch screen(ScreenWatch::Place{0, 0}, kWidth, kHeight);
    for (const double begin = Now(); Shown(screen) >= 0 && Now() - begin < kPatience;) {
        Sleep(0.1); // until the player before is off the screen
    }
    const Command command(player.command, stream);
    // Without a window manager the keys go to the window below the pointer.
    const std::string press = "xdotool mousemove 240 200 key " + player.key;
    std::vector<double> times;
    int shown = AwaitProgramme(screen, -1, kStart);
    for (int i = 0; i < changes && shown >= 0; ++i) {
        Sleep(2 + 0.37 * (i % 5)); // anywhere in the group of pictures
        const double begin = Now();
        if (std::system(press.c_str()) != 0) {
            break;
        }
        shown = AwaitProgramme(screen, shown, kPatience);
        if (shown >= 0) {
            times.push_back((Now() - begin) * 1000);
        }
    }
    std::ranges::sort(times);
    return times;
}

} // namespace vistrame::bench
