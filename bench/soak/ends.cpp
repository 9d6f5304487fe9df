// Ends of the player, many times at random moments: analyzers that are killed, the player's window closed,
// and Quit in every state. To be run inside a session (tools/wine-session) with the filters registered.
//
// usage: soak_ends BUILD STREAM TIMES [SEED [MOMENT]]
//
// BUILD is the product's build folder, STREAM the demo stream. Each kind of end happens TIMES times; with
// MOMENT only those at that moment. The exit code is 1 when a player was still there after its limit, or
// ended with another exit code than it should.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <windows.h>
#include <tlhelp32.h>

#include "analyzer/base/handle.h"

namespace vistrame {
namespace {

constexpr DWORD kAbrupt = 0xFFFFFFFF;
constexpr double kFollows = 1000; // ms from the analyzer's end to the player's
// Before the pipe is open the player tries to open it for two seconds first.
constexpr double kFollowsStartUp = 3000;
constexpr double kQuits = 300;  // ms from Quit to the end
constexpr double kCloses = 300; // and from the window's closing
constexpr DWORD kPatienceMsec = 60'000;

double Now() {
    LARGE_INTEGER count;
    LARGE_INTEGER perSecond;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&perSecond);
    return 1000.0 * static_cast<double>(count.QuadPart) / static_cast<double>(perSecond.QuadPart);
}

// Where in a player's life its analyzer is killed, or its window closed: so long, at most, behind a line of
// the analyzer's log (or a window of the player's), which the options bring about.
struct Moment {
    const char* end;
    const char* name;
    const char* line;   // null: the player's process is there
    const char* window; // or a window with this title
    const char* options;
    const char* script; // empty: the window's mode, in which the player's boxes stay
    unsigned longestMsec;
    double limit;
};
constexpr char kKilled[] = "analyzer killed";
constexpr char kClosed[] = "window closed";
constexpr Moment kMoments[] = {
    {kKilled, "start-up", nullptr, nullptr, "--play 1", "", 40, kFollowsStartUp},
    {kKilled, "pipe connect, window", nullptr, nullptr, "--play 1", "", 400, kFollowsStartUp},
    {kKilled, "graph build", "select programme", nullptr, "--play 1", "", 600, kFollows},
    {kKilled, "change of programme", "mark change", nullptr, "",
     "0 play 1\n+0 wait picture 20\n+0 mark change\n+0 play 2\n+9 end\n", 400, kFollows},
    {kKilled, "playback", "picture", nullptr, "--play 1", "", 2000, kFollows},
    {kKilled, "pause", "command Pause", nullptr, "", "0 play 1\n+0 wait picture 20\n+0 pause\n+9 end\n", 500,
     kFollows},
    {kKilled, "message box", nullptr, "Error", "--play 1 --set MPEG2Codec=10", "", 500, kFollows},
    {kClosed, "playback", "picture", nullptr, "", "0 play 1\n+0 wait picture 20\n+9 end\n", 500, kCloses},
    {kClosed, "pause", "command Pause", nullptr, "", "0 play 1\n+0 wait picture 20\n+0 pause\n+9 end\n", 500,
     kCloses},
};

// Ends in order: what comes before the Quit.
struct Quit {
    const char* name;
    const char* script;
};
constexpr Quit kQuitRows[] = {
    {"right behind the selection", "+0 play 1\n"},
    {"behind two selections", "+0 play 1\n+0 play 2\n"},
    {"playback, in the fade-in", "+0 play 1\n+0 wait picture 20\n+0.3 unmute 0\n"},
    {"pause", "+0 play 1\n+0 wait picture 20\n+0 pause\n"},
    {"stop", "+0 play 1\n+0 wait picture 20\n+0 stop\n"},
    {"a pipe that stalls", "+0 play 1\n+0 wait picture 20\n+0 stall\n+0.5 mark stalled\n"},
    // Between three and ten seconds without data the watchdog restarts the graph each second.
    {"a stall's restart", "+0 play 1\n+0 wait picture 20\n+0 stall\n+4.5 mark restarted\n"},
};

struct Result {
    double msec = -1; // from the end's cause to the player's end
    DWORD exitCode = 0;
};

class Analyzer {
public:
    // `options` as on a command line.
    Analyzer(const std::string& build, const std::string& stream, const std::string& options,
             const std::string& script) {
        char folder[MAX_PATH];
        GetTempPathA(MAX_PATH, folder);
        log_ = std::string(folder) + "ends.log";
        DeleteFileA(log_.c_str());
        std::string line = '"' + build + R"(\analyzer\vistrame-analyzer.exe" --player ")" + build +
                           R"(\player\vistrame.exe" --log ")" + log_ + "\" " + options;
        if (!script.empty()) {
            std::ofstream(std::string(folder) + "ends.script") << script;
            line += " --script \"" + std::string(folder) + "ends.script\"";
        }
        line += " \"" + stream + '"';
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                           &started)) {
            CloseHandle(started.hThread);
            process_.reset(started.hProcess);
            id_ = started.dwProcessId;
        }
    }
    Analyzer(const Analyzer&) = delete;
    Analyzer& operator=(const Analyzer&) = delete;
    ~Analyzer() { Kill(); }

    void Kill() {
        if (process_) {
            TerminateProcess(process_.get(), 1);
        }
    }
    bool WaitForEnd(DWORD limitMsec) {
        return WaitForSingleObject(process_.get(), limitMsec) == WAIT_OBJECT_0;
    }

    std::string Log() const {
        std::ifstream file(log_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // Its child of that name, once there is one; `id` is its identifier.
    Handle WaitForPlayer(DWORD& id) const {
        for (const double begin = Now(); Now() - begin < kPatienceMsec; Sleep(1)) {
            const Handle all = AdoptHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
            PROCESSENTRY32 entry{};
            entry.dwSize = sizeof entry;
            for (BOOL more = Process32First(all.get(), &entry); more;
                 more = Process32Next(all.get(), &entry)) {
                if (entry.th32ParentProcessID == id_ && std::string(entry.szExeFile) == "vistrame.exe") {
                    id = entry.th32ProcessID;
                    return Handle(
                        OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION | PROCESS_TERMINATE, FALSE, id));
                }
            }
        }
        return nullptr;
    }

private:
    std::string log_;
    Handle process_;
    DWORD id_ = 0;
};

bool WindowThere(const char* title, DWORD process) {
    DWORD owner = 0;
    HWND window = nullptr;
    do {
        window = FindWindowExA(nullptr, window, nullptr, title);
        GetWindowThreadProcessId(window, &owner);
    } while (window != nullptr && owner != process);
    return window != nullptr;
}

struct WindowSearch {
    DWORD process;
    HWND found;
};

// Ends the search at the process's window of the player's title.
BOOL CALLBACK LookAt(HWND window, LPARAM argument) {
    auto& search = *reinterpret_cast<WindowSearch*>(argument);
    std::array<char, 16> title{};
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    GetWindowTextA(window, title.data(), title.size());
    if (owner == search.process && std::string(title.data()) == "Vistrame") {
        search.found = window;
    }
    return search.found == nullptr ? TRUE : FALSE;
}

// The player's window, which is a child of the analyzer's; null: not there.
HWND PlayerWindowOf(DWORD process) {
    WindowSearch search{process, nullptr};
    HWND top = nullptr;
    while (search.found == nullptr && (top = FindWindowExA(nullptr, top, nullptr, nullptr)) != nullptr) {
        EnumChildWindows(top, LookAt, reinterpret_cast<LPARAM>(&search));
    }
    return search.found;
}

// Brings the end about and looks how the player takes it.
Result EndAt(const Moment& moment, const std::string& build, const std::string& stream, unsigned delay) {
    const bool box = moment.window != nullptr;
    Analyzer analyzer(build, stream, std::string(box ? "" : "--set MPEG2Codec=0 ") + moment.options,
                      moment.script);
    DWORD id = 0;
    const Handle player = analyzer.WaitForPlayer(id);
    const auto reached = [&] {
        return (moment.line == nullptr || analyzer.Log().find(moment.line) != std::string::npos) &&
               (!box || WindowThere(moment.window, id));
    };
    for (const double begin = Now(); player && !reached(); Sleep(2)) {
        if (Now() - begin > kPatienceMsec) {
            return {};
        }
    }
    Sleep(delay);
    HWND window = moment.end == kClosed ? PlayerWindowOf(id) : nullptr;
    const double killed = Now();
    if (moment.end == kClosed) {
        PostMessageA(window, WM_CLOSE, 0, 0);
    } else {
        analyzer.Kill();
    }
    Result result;
    if (player && WaitForSingleObject(player.get(), 10'000) == WAIT_OBJECT_0) {
        result.msec = Now() - killed;
        GetExitCodeProcess(player.get(), &result.exitCode);
    } else if (player) {
        TerminateProcess(player.get(), 1); // ours: nothing of a failed try stays behind
    }
    return result;
}

// The analyzer's own figures: the command's time, and the rest up to the end it saw.
std::vector<Result> QuitTimes(const Quit& row, const std::string& build, const std::string& stream,
                              int times) {
    std::string script = "0 set KorvixCodec 1\n0 set AudioUnmuteMsec 0\n";
    for (int i = 0; i < times; ++i) {
        script += "+0 resume skip\n" + std::string(row.script) + "+0 quit\n";
    }
    Analyzer analyzer(build, stream, "--set MPEG2Codec=0", script);
    (void)analyzer.WaitForEnd(kPatienceMsec * static_cast<DWORD>(times)); // the log tells how far it came
    std::vector<Result> results;
    const std::string log = analyzer.Log();
    double sent = 0;
    for (std::size_t at = 0, end; (end = log.find('\n', at)) != std::string::npos; at = end + 1) {
        const std::string line = log.substr(at, end - at);
        const double msec = std::strtod(line.c_str(), nullptr) * 1000;
        if (line.find("command Quit") != std::string::npos) {
            sent = msec - std::strtod(line.c_str() + line.find("msec ") + 5, nullptr);
        } else if (const auto exit = line.find("player exit "); exit != std::string::npos) {
            results.push_back(
                {msec - sent, static_cast<DWORD>(std::strtoul(line.c_str() + exit + 12, nullptr, 16))});
        }
    }
    if (results.size() < static_cast<std::size_t>(times)) {
        constexpr std::size_t kTold = 1000; // characters: what came before it ended too early
        std::printf("%s, the end of the analyzer's log:\n%s", row.name,
                    log.substr(log.size() - std::min(log.size(), kTold)).c_str());
    }
    return results;
}

// A row of the table; whether all ends were right.
bool Tell(const char* kind, const char* name, const std::vector<Result>& results, std::size_t times,
          DWORD exitCode, double limit) {
    std::vector<double> msecs;
    std::size_t right = 0;
    for (const Result& result : results) {
        msecs.push_back(result.msec);
        const bool good = result.msec >= 0 && result.msec <= limit && result.exitCode == exitCode;
        right += good ? 1 : 0;
        if (!good) { // -1 ms: the moment never came, or the player was still there after ten seconds
            std::printf("%s, %s: %.0f ms, exit code 0x%08lX\n", kind, name, result.msec, result.exitCode);
        }
    }
    std::ranges::sort(msecs);
    std::printf("| %s | %s | %u of %u | %.0f ms | %.0f ms | %.0f ms |%s\n", kind, name,
                static_cast<unsigned>(right), static_cast<unsigned>(times),
                msecs.empty() ? -1 : msecs[msecs.size() / 2], msecs.empty() ? -1 : msecs.back(), limit,
                right == times ? "" : "  WRONG");
    std::fflush(stdout);
    return right == times;
}

// `only`: empty for all.
int Run(const std::string& build, const std::string& stream, int times, unsigned seed,
        const std::string& only) {
    std::mt19937 random(seed);
    std::puts(
        "| end | moment | as it should | median | slowest | limit |\n| --- | --- | --- | --- | --- | --- |");
    bool right = true;
    for (const Moment& moment : kMoments) {
        if (!only.empty() && only != moment.name) {
            continue;
        }
        std::vector<Result> results;
        results.reserve(static_cast<std::size_t>(times));
        for (int i = 0; i < times; ++i) {
            results.push_back(EndAt(moment, build, stream, random() % moment.longestMsec));
        }
        right = Tell(moment.end, moment.name, results, results.size(), kAbrupt, moment.limit) && right;
    }
    for (const Quit& row : kQuitRows) {
        if (!only.empty() && only != row.name) {
            continue;
        }
        const auto results = QuitTimes(row, build, stream, times);
        right = Tell("Quit", row.name, results, static_cast<std::size_t>(times), 0, kQuits) && right;
    }
    return right ? 0 : 1;
}

} // namespace
} // namespace vistrame

int main(int count, char** words) {
    if (count < 4) {
        std::fputs("usage: soak_ends BUILD STREAM TIMES [SEED [MOMENT]]\n", stderr);
        return 2;
    }
    std::string build = std::string("Z:") + words[1];
    std::ranges::replace(build, '/', '\\');
    return vistrame::Run(build, words[2], std::atoi(words[3]),
                         count > 4 ? static_cast<unsigned>(std::strtoul(words[4], nullptr, 10)) : 1,
                         count > 5 ? words[5] : "");
}
