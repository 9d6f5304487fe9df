#include "bench/players/player_run.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <thread>

#include "bench/players/command.h"
#include "bench/players/process_cost.h"
#include "tests/support/watch/screen_watch.h"
#include "tests/support/watch/shown_pictures.h"

namespace vistrame::bench {
namespace {

using live::Now;
using live::ScreenWatch;

constexpr double kPatience = 30; // seconds for the first picture
constexpr double kSettle = 2;
constexpr double kBetweenStarts = 1.5;
constexpr double kSettleBelow = 2; // for each player below: they, too, are all to play, and the last on top

void Sleep(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// What our environment marks as this session's.
std::string SessionMark() {
    const char* const session = std::getenv("VISTRAME_SESSION");
    return std::string("VISTRAME_SESSION=") + (session != nullptr ? session : "") + '\0';
}

// The processes that the picture needs besides the player.
std::vector<pid_t> Around() {
    std::vector<pid_t> all = FindProcesses("wineserver64", SessionMark());
    for (const char* name : {"wineserver", "Xvfb"}) {
        const std::vector<pid_t> some = FindProcesses(name, "");
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

// Until the player before is off the screen.
void AwaitNothing(const Player& player) {
    const ScreenWatch screen(ScreenWatch::Place{player.left, player.top}, kWidth, kHeight);
    const double end = Now() + kPatience;
    for (bool shown = true; shown && Now() < end;) {
        Sleep(0.2);
        const auto changes = screen.Changes();
        shown = !changes.empty() && changes.back().look.number > 0;
    }
}

} // namespace

Figures Play(const Player& player, const std::string& stream, double seconds, int copies) {
    Figures figures;
    AwaitNothing(player);
    std::vector<std::unique_ptr<Command>> below;
    for (int i = 1; i < copies; ++i) {
        below.push_back(std::make_unique<Command>(player.command, stream));
        Sleep(kBetweenStarts);
    }
    const ScreenWatch screen(ScreenWatch::Place{player.left, player.top}, kWidth, kHeight);
    const double started = Now();
    const Command command(player.command, stream);
    const auto shown = [&] {
        const auto changes = screen.Changes();
        return std::ranges::any_of(changes, [](const auto& change) { return change.look.number > 0; });
    };
    while (!shown()) {
        if (Now() - started > kPatience) {
            figures.failure = "no picture";
            return figures;
        }
        Sleep(0.01);
    }
    figures.firstPicture = Now() - started;
    Sleep(kSettle + kSettleBelow * (copies - 1));
    const std::vector<pid_t> processes = FindProcesses(player.process, SessionMark());
    const std::vector<pid_t> around = Around();
    const double begin = Now();
    const double processor = ProcessorSeconds(processes);
    const double others = ProcessorSeconds(around);
    Sleep(seconds);
    const double end = Now();
    figures.processor = (ProcessorSeconds(processes) - processor) / (end - begin);
    figures.around = (ProcessorSeconds(around) - others) / (end - begin);
    figures.memory = Memory(processes);
    const live::ShownPictures pictures = live::FindShownPictures(screen.Changes(), begin, end);
    figures.hold = pictures.longestHold;
    figures.pictures = pictures.pictures;
    figures.lost = pictures.lost;
    figures.failure = processes.empty() ? "no process " + player.process : "";
    return figures;
}

} // namespace vistrame::bench
