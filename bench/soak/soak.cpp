// A working day of the player in a short time: random changes of programme with everything that can happen
// between them, and what the process takes after each. To be run inside a session (tools/wine-session).
//
// usage: soak BUILD STREAMS FOLDER SECONDS [SEED [ROW...]]
//
// BUILD is the product's build folder, STREAMS that of tests/live/make-streams. FOLDER gets a table (CSV) and
// a chart (SVG) per row; the rows share the SECONDS. The exit code is 1 when something grew, the player
// ended, did not answer or opened a box, or changes took longer at the end than at the beginning.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "bench/soak/soak_chart.h"
#include "bench/soak/soak_script.h"
#include "tests/support/watch/process_watch.h"
#include "tests/support/watch/programme_run.h"

namespace vistrame::live {
namespace {

struct Row {
    const char* name; // of its files
    int vmr9, korvix, debugOsd;
};
// The first two alone have every part in them.
constexpr Row kRows[] = {
    {"vmr9-korvix-osd", 1, 1, 1},
    {"overlay-platform", 0, 0, 0},
    {"vmr9-platform", 1, 0, 0},
    {"overlay-korvix-osd", 0, 1, 1},
};

constexpr std::size_t kSettled = 20; // changes after which nothing grows any more
constexpr double kSlower = 1.2;      // times the first changes' median
constexpr double kSlowerMsec = 20;   // or so much: a median of few moves by that on a busy machine
// Wine's filter graph leaves one of its two events open when it goes.
constexpr double kWinesEvents = 1;
// Each of Wine's threads holds four descriptors: two pipes to the server, and both ends of its own one.
constexpr double kThreadsFiles = 4;
constexpr double kThreads = 5; // may be more
// How far the least of a figure's last third may lie above that of the first settled third. Single counts
// swing by thirty handles and 60 MB with what the threads are just doing; what is kept for good lifts the
// least of them too.
struct Limit {
    double Change::*figure;
    double most;
};
constexpr Limit kLimits[] = {
    {&Change::memory, 32},
    {&Change::threads, kThreads},
    {&Change::handles, 5},
    {&Change::keys, 5},
    {&Change::files, 5 + kThreads* kThreadsFiles},
    {&Change::gdi, 5},
    {&Change::user, 5},
    {&Change::windows, 5},
    {&Change::addresses, 96},
};

const char* NameOf(double Change::*value) {
    return std::ranges::find(kFigures, value, &Figure::value)->name;
}

void Take(Change& change, const ProcessWatch::Look& look) {
    change.threads = look.threads;
    change.files = look.files;
    change.addresses = look.addresses;
    change.memory = look.memory;
}

// The analyzer writes -1 for what the system does not say.
double Counted(const std::string& text, const char* key) {
    const double value = Value(text, key);
    return value < 0 ? kNotKnown : value;
}

std::vector<Change> Changes(const ProgrammeRun& run, const std::vector<ProcessWatch::Look>& looks) {
    std::vector<Change> changes;
    double first = 0;
    for (const LogLine& line : run.log) {
        if (line.text.starts_with("command SetPid")) {
            first = changes.empty() ? line.time : first;
            changes.push_back({.time = line.time - first, .setPid = Value(line.text, "msec ")});
        } else if (changes.empty()) {
            continue;
        } else if (line.text.starts_with("picture ")) {
            changes.back().picture = Value(line.text, " msec ");
        } else if (line.text.starts_with("count ")) {
            Change& change = changes.back();
            change.keys = Counted(line.text, "keys ");
            if (const double all = Counted(line.text, "handles "); all != kNotKnown) {
                change.handles =
                    all - std::max(change.keys, 0.0) - kWinesEvents * static_cast<double>(changes.size());
            }
            change.gdi = Counted(line.text, "gdi ");
            change.user = Counted(line.text, "user ");
            change.windows = Counted(line.text, "windows ");
            const auto look = std::ranges::upper_bound(looks, line.time, {}, &ProcessWatch::Look::time);
            if (look != looks.begin()) {
                Take(change, *std::prev(look));
            }
        }
    }
    return changes;
}

// Of the changes [from, from + count) in which the figure is known, in ascending order.
std::vector<double> Known(const std::vector<Change>& changes, std::size_t from, std::size_t count,
                          double Change::*figure) {
    std::vector<double> values;
    for (std::size_t i = from; i < from + count && i < changes.size(); ++i) {
        if (changes[i].*figure != kNotKnown) {
            values.push_back(changes[i].*figure);
        }
    }
    std::ranges::sort(values);
    return values;
}

double Median(const std::vector<double>& values) {
    return values.empty() ? std::numeric_limits<double>::quiet_NaN() : values[values.size() / 2];
}

double Least(const std::vector<double>& values) {
    return values.empty() ? std::numeric_limits<double>::quiet_NaN() : values.front();
}

// What was wrong, each with a comma before it.
std::string Judge(const std::vector<Change>& changes) {
    if (changes.size() < 2 * kSettled) {
        return ", too few changes";
    }
    std::string wrong;
    const std::size_t third = (changes.size() - kSettled) / 3;
    for (const Figure& figure : kFigures) {
        const auto first = Known(changes, kSettled, third, figure.value);
        const auto last = Known(changes, changes.size() - third, third, figure.value);
        const double growth = first.empty() || last.empty() ? 0 : last.front() - first.front();
        const auto* const limit = std::ranges::find(kLimits, figure.value, &Limit::figure);
        const bool right = limit == std::end(kLimits) || growth <= limit->most;
        std::printf("  %-18s middle %8.1f %8.1f   least %8.1f %8.1f%s\n", figure.name, Median(first),
                    Median(last), Least(first), Least(last), right ? "" : "  GREW");
        wrong += right ? "" : std::string(", more ") + NameOf(figure.value);
    }
    const std::size_t part = (changes.size() - kSettled) / 10;
    if (part < kSettled) {
        return wrong; // the middle of so few says little about time
    }
    const double begin = Median(Known(changes, 0, part, &Change::setPid));
    const double end = Median(Known(changes, changes.size() - part, part, &Change::setPid));
    return end <= std::max(begin * kSlower, begin + kSlowerMsec) ? wrong : wrong + ", slower";
}

bool Soak(const Row& row, const Paths& where, const std::string& folder, double seconds, unsigned seed) {
    const std::vector<std::string> options{"--set", "UseVMR9=" + std::to_string(row.vmr9),
                                           "--set", "KorvixCodec=" + std::to_string(row.korvix),
                                           "--set", "DebugOSD=" + std::to_string(row.debugOsd)};
    ProcessWatch watch;
    const ProgrammeRun run =
        FollowScript(where, options, SoakScript(seconds, seed), "demo.ts", 60 + seconds * 10);
    const std::vector<Change> changes = Changes(run, watch.Looks());
    std::printf("%s: %zu changes in %.0f s, seed %u; the first settled third and the last third\n", row.name,
                changes.size(), changes.empty() ? 0 : changes.back().time, seed);
    std::string wrong = Judge(changes);
    wrong += run.failure.empty() ? "" : ", " + run.failure;
    wrong += Value(run.Rest("motion last"), "changes ") > 0 ? "" : ", no moving picture at the end";
    for (const LogLine& line : run.log) {
        wrong += line.text.starts_with("player box") ? ", a box" : "";
    }
    const std::string title = std::string(row.name) + ", " + std::to_string(changes.size()) + " changes";
    std::error_code failed; // then nothing can be written to it either
    std::filesystem::create_directories(folder, failed);
    if (!WriteCourse(folder + "/" + row.name, title, changes)) {
        wrong += ", no files in " + folder;
    }
    std::printf("  %s%s\n", wrong.empty() ? "right" : "WRONG", wrong.c_str());
    std::fflush(stdout);
    return wrong.empty();
}

} // namespace
} // namespace vistrame::live

int main(int count, char** words) {
    using namespace vistrame::live;
    if (count < 5) {
        std::fputs("usage: soak BUILD STREAMS FOLDER SECONDS [SEED [ROW...]]\n", stderr);
        return 2;
    }
    const Paths where{words[1], words[2]};
    const unsigned seed = count > 5 ? static_cast<unsigned>(std::strtoul(words[5], nullptr, 10)) : 1;
    std::vector<const Row*> rows;
    for (int i = 6; i < count; ++i) {
        rows.push_back(
            &kRows[(std::strtoul(words[i], nullptr, 10) + std::size(kRows) - 1) % std::size(kRows)]);
    }
    for (const Row& row : kRows) {
        count <= 6 ? rows.push_back(&row) : void();
    }
    const double seconds = std::strtod(words[4], nullptr) / static_cast<double>(rows.size());
    const bool right = WithFilters(where, [&] {
        bool all = true;
        for (const Row* row : rows) {
            all = Soak(*row, where, words[3], seconds, seed) && all;
        }
        return all;
    });
    return right ? 0 : 1;
}
