#include "tests/support/watch/programme_run.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vistrame::live {
namespace {

// Through tools/wine of this checkout; -1 when it cannot be started.
// The first argument is a script of tools/.
pid_t Start(std::vector<std::string> arguments, const std::string& output) {
    arguments.front().insert(0, VISTRAME_SOURCE_DIR "/tools/");
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    pid_t process = -1;
    if (posix_spawn(&process, words[0], &files, nullptr, words.data(), environ) != 0) {
        process = -1;
    }
    posix_spawn_file_actions_destroy(&files);
    return process;
}

std::string FileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Reads what is new in the log. Its times are put on our clock by the line that took the least time to come
// in.
class LogReader {
public:
    explicit LogReader(std::string path) : path_(std::move(path)) {}

    void Read() {
        const std::string text = FileText(path_);
        for (std::size_t end; (end = text.find('\n', read_)) != std::string::npos; read_ = end + 1) {
            char* rest = nullptr;
            const double time = std::strtod(text.c_str() + read_, &rest);
            const std::size_t from = static_cast<std::size_t>(rest - text.c_str()) + 1;
            const std::size_t to = text.find_last_not_of("\r\n", end) + 1;
            lines_.push_back({time, from < to ? text.substr(from, to - from) : ""});
            offset_ = std::min(offset_, Now() - time);
        }
    }

    std::vector<LogLine> Lines() const {
        std::vector<LogLine> lines = lines_;
        for (LogLine& line : lines) {
            line.time += offset_;
        }
        return lines;
    }

private:
    std::string path_;
    std::size_t read_ = 0;
    std::vector<LogLine> lines_; // with the analyzer's times
    double offset_ = 1e18;       // ours minus the analyzer's
};

// Follows the log to the analyzer's end. Nothing, or how it failed.
std::string Follow(pid_t process, LogReader& log, const std::string& output, double limit) {
    const double end = Now() + limit;
    int status = -1;
    while (process > 0 && waitpid(process, &status, WNOHANG) == 0) {
        log.Read();
        if (Now() > end) {
            kill(process, SIGTERM);
            waitpid(process, nullptr, 0);
            return "the analyzer did not end in time";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    log.Read();
    std::string text = FileText(output);
    std::ranges::replace(text, '\n', ' ');
    return status == 0 ? "" : "exit code " + std::to_string(WEXITSTATUS(status)) + ": " + text;
}

bool RegisterFilters(const std::string& build, bool in) {
    std::vector<std::string> words{"register"};
    if (!in) {
        words.emplace_back("/u");
    }
    words.push_back(build + "/filters/vistrame.ax");
    int status = -1;
    const pid_t process = Start(words, "/dev/null");
    return process > 0 && waitpid(process, &status, 0) == process && status == 0;
}

} // namespace

int RunPart(Part part, std::span<char*> words) {
    const Surroundings where{words[0], words[1]};
    if (!RegisterFilters(where.build, true)) {
        std::fputs("vistrame.ax cannot be registered\n", stderr);
        return 1;
    }
    SoundWatch sound;
    const bool right = part(where, sound, words.size() > 2 ? std::strtoul(words[2], nullptr, 10) : 0);
    (void)RegisterFilters(where.build, false); // the session is at its end, or the next run sees to it
    return right ? 0 : 1;
}

double ProgrammeRun::Time(const std::string& begin) const {
    const auto found =
        std::ranges::find_if(log, [&](const LogLine& line) { return line.text.starts_with(begin); });
    return found == log.end() ? 0 : found->time;
}

std::string ProgrammeRun::Rest(const std::string& begin) const {
    const auto found =
        std::ranges::find_if(log, [&](const LogLine& line) { return line.text.starts_with(begin); });
    return found == log.end() ? "" : found->text.substr(begin.size());
}

ProgrammeRun RunScript(const Surroundings& where, SoundWatch& sound, const std::vector<std::string>& options,
                       const std::string& script, const std::string& stream, double limit, int colourRow) {
    ProgrammeRun run;
    const char* const session = std::getenv("VISTRAME_SESSION");
    std::string folder = std::string(session != nullptr ? session : "/tmp") + "/live.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        run.failure = "no folder for the script";
        return run;
    }
    std::ofstream(folder + "/script")
        << "0 size " + std::to_string(kAreaWidth) + " " + std::to_string(kAreaHeight) + "\n" + script;
    std::vector<std::string> words{"wine",     where.build + "/analyzer/vistrame-analyzer.exe",
                                   "--player", where.build + "/player/vistrame.exe",
                                   "--log",    folder + "/log",
                                   "--script", folder + "/script"};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(stream.front() == '/' ? stream : where.streams + "/" + stream);

    const double begin = Now();
    const ScreenWatch screen(kAreaWidth, kAreaHeight, colourRow);
    LogReader log(folder + "/log");
    run.failure = Follow(Start(words, folder + "/output"), log, folder + "/output", limit);
    run.log = log.Lines();
    run.screen = screen.Changes();
    run.blink = screen.LongestBlink();
    run.sound = sound.Since(begin);
    std::filesystem::remove_all(folder);
    return run;
}

std::string UntilRight(const std::string& name, const std::function<std::string()>& measure) {
    constexpr int kAttempts = 3;
    std::string wrong = measure();
    for (int attempt = 2; !wrong.empty() && attempt <= kAttempts; ++attempt) {
        std::printf("%s, attempt %d of %d, because of%s\n", name.c_str(), attempt, kAttempts, wrong.c_str());
        wrong = measure();
    }
    return wrong;
}

std::vector<LipSync> LipSyncs(const ProgrammeRun& run, double begin, double end) {
    constexpr double kFarthest = 0.9; // marks of one kind come every two seconds
    const std::vector<Beep> beeps = Beeps(run.sound);
    std::vector<LipSync> pairs;
    for (std::size_t i = 1; i < run.screen.size(); ++i) {
        const auto& [time, look] = run.screen[i];
        if (look.flash == Look::Flash::kNone || look.flash == run.screen[i - 1].look.flash || time < begin ||
            time > end) {
            continue;
        }
        const bool odd = look.flash == Look::Flash::kCyan;
        const Beep* nearest = nullptr;
        for (const Beep& beep : beeps) {
            if (beep.odd == odd && std::abs(beep.time - time) < kFarthest &&
                (nearest == nullptr || std::abs(beep.time - time) < std::abs(nearest->time - time))) {
                nearest = &beep;
            }
        }
        if (nearest != nullptr && (pairs.empty() || time - pairs.back().time > 0.5)) {
            pairs.push_back({time, nearest->time - time});
        }
    }
    return pairs;
}

double LongestHold(const ProgrammeRun& run, double begin, double end) {
    double longest = 0;
    double since = begin;
    int shown = -1;
    for (const auto& [time, look] : run.screen) {
        if (look.number == -1 || look.number == shown || time > end) {
            continue;
        }
        shown = look.number;
        if (time > since) {
            longest = std::max(longest, time - since);
            since = time;
        }
    }
    return std::max(longest, end - since);
}

double Value(const std::string& text, const std::string& key) {
    const std::size_t at = text.find(key);
    return at == std::string::npos ? -1 : std::strtod(text.c_str() + at + key.size(), nullptr);
}

} // namespace vistrame::live
