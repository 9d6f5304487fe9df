// Stand-in for the analyzer: options, then the window.
#include <windows.h>
#include <shellapi.h>
#include <timeapi.h>

#include <fstream>
#include <iterator>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "analyzer/session/player_settings.h"
#include "analyzer/source/address.h"
#include "analyzer/source/network_source.h"
#include "analyzer/ui/ask_for_file.h"
#include "analyzer/ui/console.h"
#include "analyzer/ui/main_window.h"
#include "analyzer/ui/remembered.h"
#include "contract/system_dlls.h"

namespace vistrame {

namespace {

std::vector<std::string> Arguments() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(Narrow(words[i]));
    }
    (void)LocalFree(words); // nothing to do about a failure
    return arguments;
}

void PrintHelp() {
    PrintOut(
        "vistrame-analyzer.exe [options] [STREAM]\n"
        "Plays a transport-stream file through vistrame.exe as the analyzer would.\n\n" +
        OptionsHelp() +
        "\nA script has one command per line: a time, a command, its arguments; # starts a comment. A time\n"
        "is seconds since the script's start (5.0), since the line before was done (+1.5), or both, and "
        "then\n"
        "the later one (5.0+1.5).\n\n" +
        ScriptHelp() + "\nPlayer settings for --set and set:\n\n" + SettingsHelp() +
        "\nExit codes: 0 well, 1 usage, 2 stream, 3 programme, 4 player not started, 5 player ended "
        "otherwise than\n"
        "expected, 6 a wait ran out, 7 log, report or setting not written.\n");
}

Outcome LoadScript(const std::string& path, Script& script) {
    if (path.empty()) {
        return {};
    }
    std::ifstream file(FilePath(path), std::ios::binary);
    if (!file) {
        return {ExitCode::kUsage, path + ": no such script"};
    }
    script = ParseScript(std::string(std::istreambuf_iterator<char>(file), {}));
    return script.error.empty() ? Outcome() : Outcome{ExitCode::kUsage, path + ": " + script.error};
}

Outcome WriteReport(const std::string& path, const std::string& text) {
    std::ofstream report(FilePath(path), std::ios::binary | std::ios::trunc);
    report << text;
    report.close();
    return report ? Outcome() : Outcome{ExitCode::kOutput, path + ": cannot be written"};
}

Outcome Prepare(const Options& options, EventLog& log) {
    if (!options.log.empty() && !log.Open(options.log)) {
        return {ExitCode::kOutput, options.log + ": cannot be written"};
    }
    for (const SettingChange& change : options.settings) {
        if (!StoreSetting(change)) {
            return {ExitCode::kOutput, "the setting " + std::string(change.row.name) + " cannot be stored"};
        }
    }
    return {};
}

// What went wrong, on standard error, and where people look at a window that was not opened or is gone, in a
// box.
void Tell(const Options& options, const Outcome& outcome) {
    PrintError(outcome.reason);
    if (options.WindowMode()) {
        (void)MessageBoxW(nullptr, Widen(outcome.reason).c_str(), L"Vistrame analyzer", MB_ICONERROR);
    }
}

// One file, until its window is closed. `next` is another that was chosen in it.
Outcome Show(const Options& options, const std::string& path, const Script& script, EventLog& log,
             std::string& next) {
    StreamFile file;
    std::shared_ptr<LiveSource> source;
    Outcome opened = IsLive(path) ? OpenLiveSource(path, source) : file.Open(path);
    if (opened.Ok() && source) {
        opened = file.OpenLive(path, std::move(source));
    }
    if (!opened.Ok()) {
        return opened;
    }
    if (options.list) {
        PrintOut(options.listFields ? FormatProgrammeFields(file) : FormatProgrammeTable(file));
        return {};
    }
    if (options.play && file.Find(*options.play) == nullptr) {
        return {ExitCode::kProgramme, Format("programme %u does not exist in ", *options.play) + path};
    }
    log.Line("stream " + path +
             Format(" programmes %u seconds %.3f bitrate %.0f",
                    static_cast<unsigned>(file.Programmes().size()), file.Seconds(),
                    file.PacketsPerSecond() * kPacketSize * 8));
    if (options.WindowMode()) {
        RememberFile(path);
    }
    MainWindow window(file, options, log);
    Outcome outcome = window.Run(script);
    next = window.NextFile();
    if (!options.report.empty()) {
        Outcome written = WriteReport(options.report, FormatReport(file, window.Facts(), outcome));
        if (outcome.Ok()) {
            return written;
        }
    }
    if (!outcome.Ok() && options.WindowMode()) {
        PrintError(outcome.reason); // the window has shown it in a box when it happened
        outcome.reason.clear();
    }
    return outcome;
}

Outcome Run(const Options& options) {
    Script script;
    EventLog log;
    if (Outcome loaded = LoadScript(options.script, script); !loaded.Ok()) {
        return loaded;
    }
    if (Outcome prepared = Prepare(options, log); !prepared.Ok()) {
        return prepared;
    }
    std::string path = options.stream.empty() ? AskForFile(nullptr) : options.stream;
    Options further = options;
    Outcome outcome;
    std::string shown; // the last that could be opened
    while (!path.empty()) {
        std::string next;
        outcome = Show(further, path, script, log, next);
        if (outcome.code == ExitCode::kStream && !shown.empty()) {
            Tell(options, outcome); // of one that was chosen in the window, which stays with the former
            next = shown;
        } else {
            shown = path;
        }
        further.play.reset(); // it was one of the first stream's
        path = next;
    }
    return outcome;
}

} // namespace

int Main() {
    LoadDllsFromSystemOnly();
    const std::vector<std::string> arguments = Arguments();
    const ParsedOptions parsed = ParseOptions(arguments);
    if (parsed.error.empty() && parsed.options.help) {
        PrintHelp();
        return 0;
    }
    if (auto* const begin = SystemFunction<decltype(timeBeginPeriod)>(L"winmm.dll", "timeBeginPeriod")) {
        (void)begin(1); // ms; the pace gets coarser where it is refused
    }
    const Outcome result =
        parsed.error.empty() ? Run(parsed.options) : Outcome{ExitCode::kUsage, parsed.error};
    if (!result.reason.empty()) {
        Tell(parsed.options, result);
    }
    return static_cast<int>(result.code);
}

} // namespace vistrame

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    return vistrame::Main();
}
