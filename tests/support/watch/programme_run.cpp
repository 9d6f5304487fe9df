#include "tests/support/watch/programme_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>

#include <sys/wait.h>
#include <unistd.h>

namespace vistrame::live {
namespace {

// Runs a script of tools/ with what it says in a file. Its exit code; kTooLong when it was ended after
// `limit` seconds. No word has an apostrophe in it.
constexpr int kTooLong = 124;
int RunTool(const std::vector<std::string>& words, const std::string& output, double limit) {
    std::string command = "exec timeout " + std::to_string(limit) + " '" VISTRAME_SOURCE_DIR "/tools/";
    for (const std::string& word : words) {
        command += word + "' '";
    }
    command.resize(command.size() - 1);
    command += "</dev/null >'" + output + "' 2>&1";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
        std::ifstream file(path_, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(read_));
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        std::size_t begin = 0;
        for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
            char* rest = nullptr;
            const double time = std::strtod(text.c_str() + begin, &rest);
            const std::size_t from = static_cast<std::size_t>(rest - text.c_str()) + 1;
            const std::size_t to = text.find_last_not_of("\r\n", end) + 1;
            lines_.push_back({time, from < to ? text.substr(from, to - from) : ""});
            offset_ = std::min(offset_, Now() - time);
        }
        read_ += begin;
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
std::string Follow(std::future<int> analyzer, LogReader& log, const std::string& output) {
    while (analyzer.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
        log.Read();
    }
    log.Read();
    const int code = analyzer.get();
    std::string text = FileText(output);
    std::ranges::replace(text, '\n', ' ');
    return code == 0          ? ""
           : code == kTooLong ? "the analyzer did not end in time"
                              : "exit code " + std::to_string(code) + ": " + text;
}

} // namespace

bool WithFilters(const Paths& where, const std::function<bool()>& work) {
    const std::string filters = where.build + "/filters/vistrame.ax";
    if (RunTool({"register", filters}, "/dev/null", 60) != 0) {
        std::fputs("vistrame.ax cannot be registered\n", stderr);
        return false;
    }
    const bool right = work();
    // The session is at its end, or the next run sees to it.
    (void)RunTool({"register", "/u", filters}, "/dev/null", 60);
    return right;
}

int RunPart(Part part, std::span<char*> words, const char* usage) {
    if (words.size() < 2) {
        std::fprintf(stderr, "usage: %s\n", usage);
        return 2;
    }
    const Paths where{words[0], words[1]};
    const bool right = WithFilters(where, [&] {
        SoundWatch sound;
        return part(where, sound, words.size() > 2 ? std::strtoul(words[2], nullptr, 10) : 0);
    });
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

ProgrammeRun FollowScript(const Paths& where, const std::vector<std::string>& options,
                          const std::string& script, const std::string& stream, double limit) {
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

    LogReader log(folder + "/log");
    const std::string output = folder + "/output";
    run.failure = Follow(std::async(std::launch::async, RunTool, words, output, limit), log, output);
    run.log = log.Lines();
    std::filesystem::remove_all(folder);
    return run;
}

ProgrammeRun RunScript(const Paths& where, SoundWatch& sound, const std::vector<std::string>& options,
                       const std::string& script, const std::string& stream, double limit, int colourRow) {
    const double begin = Now();
    const ScreenWatch screen(kAreaWidth, kAreaHeight, colourRow);
    ProgrammeRun run = FollowScript(where, options, script, stream, limit);
    run.screen = screen.Changes();
    run.blink = screen.LongestBlink();
    run.sound = sound.Since(begin);
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

ShownPictures ProgrammeRun::Shown(double begin, double end) const {
    return FindShownPictures(screen, begin, end);
}

double Value(const std::string& text, const std::string& key) {
    const std::size_t at = text.find(key);
    return at == std::string::npos ? -1 : std::strtod(text.c_str() + at + key.size(), nullptr);
}

} // namespace vistrame::live
