// Programme changes without a pause, and ends right behind one: the player plays on, ends in order, and what
// it takes does not grow from one change to the next.
#include "tests/live/parts.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/watch/process_watch.h"

namespace vistrame::live {
namespace {

constexpr int kChanges = 60; // VISTRAME_CHANGES asks for another number
constexpr int kSettled = 20; // changes after which nothing grows any more
constexpr int kThreads = 5;  // of threads that may come and go
constexpr int kQuits = 5;    // VISTRAME_QUITS likewise
// Megabytes: less than one overlay's set a change would add in the short run.
constexpr double kAddresses = 96;
constexpr const char* kOptions[] = {"--set", "KorvixCodec=0", "--set", "AudioUnmuteMsec=0"};

int Number(const char* name, int otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : otherwise;
}

std::vector<std::string> Options(int vmr9) {
    std::vector<std::string> options(std::begin(kOptions), std::end(kOptions));
    options.insert(options.end(), {"--set", "UseVMR9=" + std::to_string(vmr9)});
    return options;
}

// A quarter of the changes is followed at once by the next.
std::string ChangeScript(int changes) {
    std::string script;
    for (int i = 0; i < changes; ++i) {
        script += "+0 play " + std::to_string(i % 2 + 1) + '\n';
        script += i % 4 == 1 ? "" : "+0 wait picture 20\n";
    }
    return script + "+0 wait picture 20\n+1 motion begin\n+2 motion end last\n+0 quit\n";
}

// The most that a figure came to while changes `from` to `to` were made.
template <typename Figure>
double Most(const std::vector<ProcessWatch::Look>& looks, double from, double to, Figure figure) {
    double most = 0;
    for (const auto& look : looks) {
        most = look.time >= from && look.time < to ? std::max<double>(most, look.*figure) : most;
    }
    return most;
}

bool Changes(const Paths& where, SoundWatch& sound, int vmr9) {
    const int changes = Number("VISTRAME_CHANGES", kChanges);
    ProcessWatch watch;
    const ProgrammeRun run =
        RunScript(where, sound, Options(vmr9), ChangeScript(changes), "demo.ts", 30 + changes * 3.0);
    const auto& looks = watch.Looks();
    std::vector<double> times;
    std::vector<double> durations;
    for (const LogLine& line : run.log) {
        if (line.text.starts_with("command SetPid")) {
            times.push_back(line.time);
            durations.push_back(Value(line.text, "msec "));
        }
    }
    std::printf(" %zu changes, UseVMR9=%d: %s\n", times.size(), vmr9,
                run.failure.empty() ? "played on and ended in order" : run.failure.c_str());
    if (times.size() <= kSettled || looks.empty()) {
        return false;
    }
    const auto grown = [&](auto figure) {
        return Most(looks, times[kSettled], times.back() + 1, figure) -
               Most(looks, times.front(), times[kSettled], figure);
    };
    const double threads = grown(&ProcessWatch::Look::threads);
    const double addresses = grown(&ProcessWatch::Look::addresses);
    std::ranges::sort(durations);
    std::printf(
        "  grown behind the first %d: %.0f threads, %.0f descriptors, %.0f MB of addresses, %.0f MB of "
        "memory; SetPid %.0f ms (median)\n",
        kSettled, threads, grown(&ProcessWatch::Look::files), addresses, grown(&ProcessWatch::Look::memory),
        durations[durations.size() / 2]);
    const bool right = run.failure.empty() && Value(run.Rest("motion last"), "changes ") > 0 &&
                       threads <= kThreads && addresses <= kAddresses;
    std::puts(right ? "  right" : "  WRONG");
    return right;
}

// From the selection's command to the end of its graph's making, and a little on.
bool Quits(const Paths& where, SoundWatch& sound, int vmr9) {
    std::string script;
    const int quits = Number("VISTRAME_QUITS", kQuits);
    for (int i = 0; i < quits; ++i) {
        script += "+0 play 1\n";
        script += i % 2 == 1 ? "+0 play 2\n" : "";
        script += "+" + std::to_string(i % 4 * 0.05) + " quit\n";
    }
    const ProgrammeRun run = RunScript(where, sound, Options(vmr9), script, "demo.ts", 30 + quits * 5.0);
    const auto ends = std::ranges::count_if(
        run.log, [](const LogLine& line) { return line.text == "player exit 0x00000000"; });
    std::printf(" Quit right behind a selection, UseVMR9=%d: %td of %d ended in order%s%s\n", vmr9, ends,
                quits, run.failure.empty() ? "" : "; ", run.failure.c_str());
    return run.failure.empty() && ends == quits;
}

} // namespace

bool RunChanges(const Paths& where, SoundWatch& sound, std::size_t only) {
    bool right = true;
    std::size_t number = 0;
    for (const int vmr9 : {1, 0}) {
        for (const auto& measure : {Changes, Quits}) {
            if (++number == only || only == 0) {
                const std::string wrong = UntilRight("changes " + std::to_string(number), [&] {
                    return measure(where, sound, vmr9) ? std::string() : " the above";
                });
                right = right && wrong.empty();
            }
        }
    }
    return right;
}

} // namespace vistrame::live
