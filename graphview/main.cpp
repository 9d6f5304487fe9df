// Builds the graph that the player would build, in this process and with the player's own code, feeds it a
// file, and prints what it looks like while it plays.
#include <cstdio>
#include <fstream>

#include <windows.h>
#include <objbase.h>

#include "contract/system_dlls.h"
#include "graphview/box_watch.h"
#include "graphview/graph_record.h"
#include "graphview/options.h"
#include "graphview/record_text.h"
#include "graphview/sample_counts.h"
#include "graphview/stream_feed.h"
#include "player/app/launch_fields.h"
#include "player/app/process_state.h"
#include "player/app/settings.h"
#include "player/graph/audio_volume.h"
#include "player/graph/player_graph.h"

namespace vistrame {
namespace {

enum ExitCode : int { kWell = 0, kUsage = 1, kFile = 2, kNoGraph = 3 };

// For the video's window to lie in, as it lies in the player's.
HWND MakeWindow() {
    HWND window = CreateWindowA("STATIC", "vistrame-graph", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0,
                                720, 576, nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
    MainWindow = window;
    return window;
}

// Renderers need their window's messages carried out while they play.
void PlayFor(DWORD msec) {
    const ULONGLONG end = GetTickCount64() + msec;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        (void)MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageA(&message);
        }
    }
}

std::string Title(const Options& options) {
    const auto number = [](auto value) { return std::to_string(value); };
    return "UseVMR9 " + number(UseVMR9) + ", KorvixCodec " + number(KorvixCodec) + ", MPEG2Codec " +
           number(MPEG2Codec) + ", MPEG4Codec " + number(MPEG4Codec) + ", video coding " +
           number(options.videoCoding) + ", audio coding " + number(options.audioCoding) + ", clock " +
           number(options.clock);
}

ExitCode Show(const Options& options) {
    StreamFeed feed;
    if (!feed.Start(options.stream)) {
        std::fprintf(stderr, "%s cannot be opened\n", options.stream.c_str());
        return kFile;
    }
    PlayerGraph& graph = ThePlayerGraph();
    const BoxWatch boxes;
    if (graph.BuildGraph(MakeWindow()) == 0) {
        std::fprintf(stderr, "%s", boxes.Texts().c_str());
        graph.ReleaseGraph();
        SetAudioVolume(nullptr);
        return kNoGraph;
    }
    SampleCounts counts;
    counts.Watch(*graph.graph.Get());
    graph.SetVideoPid(options.videoPid, 1);
    graph.SetAudioPid(options.audioPid, 1);
    (void)graph.control->Run();
    PlayFor(options.seconds * 1000);

    const GraphRecord record = RecordGraph(*graph.graph.Get(), counts);
    std::printf("%s\n\n%s", Title(options).c_str(), AsText(record).c_str());
    ExitCode code = kWell;
    if (!options.dot.empty()) {
        std::ofstream file(options.dot, std::ios::binary);
        file << AsDot(record, Title(options));
        file.close();
        if (!file) {
            std::fprintf(stderr, "%s cannot be written\n", options.dot.c_str());
            code = kFile;
        }
    }
    graph.ReleaseGraph();
    // The last reference to the sound's renderer, as at the player's end: its thread must not be cut off by
    // the process's.
    SetAudioVolume(nullptr);
    return code;
}

} // namespace
} // namespace vistrame

int main(int count, char** words) {
    using namespace vistrame;
    LoadDllsFromSystemOnly();
    ReadSettings();
    const auto options = ParseOptions(count, words);
    if (!options) {
        std::fputs(Usage(), stderr);
        return kUsage;
    }
    VideoType = options->videoCoding;
    AudioType = options->audioCoding;
    ClockSource = options->clock;
    InstanceHandle = GetModuleHandleA(nullptr);
    (void)CoInitialize(nullptr);
    const ExitCode code = Show(*options);
    CoUninitialize();
    return code;
}
