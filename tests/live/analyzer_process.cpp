#include "tests/live/analyzer_process.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/live/screen_watch.h"

namespace vistrame::live {
namespace {

// tools/wine of this checkout.
pid_t Start(std::vector<std::string> arguments, const std::string& output) {
    arguments.insert(arguments.begin(), VISTRAME_SOURCE_DIR "/tools/wine");
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
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

} // namespace

AnalyzerProcess::AnalyzerProcess(const std::string& build, const std::vector<std::string>& options,
                                 const std::string& script, const std::string& stream) {
    const char* const session = std::getenv("VISTRAME_SESSION");
    folder_ = std::string(session != nullptr ? session : "/tmp") + "/live.XXXXXX";
    if (mkdtemp(folder_.data()) == nullptr) {
        return;
    }
    std::ofstream(folder_ + "/script") << script;
    std::vector<std::string> words{build + "/analyzer/vistrame-analyzer.exe",
                                   "--player",
                                   build + "/app/vistrame.exe",
                                   "--log",
                                   folder_ + "/log",
                                   "--script",
                                   folder_ + "/script"};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(stream);
    process_ = Start(words, folder_ + "/output");
}

AnalyzerProcess::~AnalyzerProcess() {
    if (process_ > 0 && status_ < 0) {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    std::filesystem::remove_all(folder_);
}

void AnalyzerProcess::ReadLog() {
    std::ifstream log(folder_ + "/log", std::ios::binary);
    log.seekg(static_cast<std::streamoff>(read_));
    const std::string fresh{std::istreambuf_iterator<char>(log), {}};
    read_ += fresh.size();
    for (const char letter : fresh) {
        if (letter != '\n') {
            part_ += letter;
            continue;
        }
        while (!part_.empty() && part_.back() == '\r') {
            part_.pop_back();
        }
        char* rest = nullptr;
        const double time = std::strtod(part_.c_str(), &rest);
        lines_.push_back({time, *rest == ' ' ? rest + 1 : rest});
        offset_ = std::min(offset_, Now() - time);
        part_.clear();
    }
}

bool AnalyzerProcess::Poll() {
    if (process_ <= 0) {
        return false;
    }
    const bool ended = status_ >= 0 || waitpid(process_, &status_, WNOHANG) == process_;
    ReadLog();
    return !ended;
}

std::string AnalyzerProcess::Finish(double limit) {
    const double end = Now() + limit;
    while (Poll()) {
        if (Now() > end) {
            return "the analyzer did not end in time";
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (status_ == 0) {
        return "";
    }
    std::string output = FileText(folder_ + "/output");
    std::ranges::replace(output, '\n', ' ');
    return "exit code " + std::to_string(WEXITSTATUS(status_)) + ": " + output;
}

std::vector<AnalyzerProcess::Line> AnalyzerProcess::Lines() const {
    std::vector<Line> lines = lines_;
    for (Line& line : lines) {
        line.time += offset_;
    }
    return lines;
}

std::vector<double> AnalyzerProcess::Times(const std::string& begin) const {
    std::vector<double> times;
    for (const Line& line : Lines()) {
        if (line.text.starts_with(begin)) {
            times.push_back(line.time);
        }
    }
    return times;
}

std::string AnalyzerProcess::Rest(const std::string& begin) const {
    const auto found =
        std::ranges::find_if(lines_, [&](const Line& line) { return line.text.starts_with(begin); });
    return found == lines_.end() ? "" : found->text.substr(begin.size());
}

bool RegisterFilters(const std::string& build, bool in) {
    // The 32-bit server registers in the 32-bit view, so with the 32-bit program.
    std::vector<std::string> words{"C:\\windows\\syswow64\\regsvr32.exe", "/s"};
    if (!in) {
        words.emplace_back("/u");
    }
    words.push_back("Z:" + build + "/filters/vistrame.ax");
    int status = -1;
    const pid_t process = Start(words, "/dev/null");
    return process > 0 && waitpid(process, &status, 0) == process && status == 0;
}

} // namespace vistrame::live
