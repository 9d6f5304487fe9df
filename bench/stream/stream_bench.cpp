// What the way of the stream costs before anything is decoded: the player's reader of the pipe against a bare
// loop of ReadFile, and feed filter and demultiplexer behind it against the reader alone. The filters are the
// registered ones.
//
// usage: stream_bench FILE.ts   its streams on PIDs 256 and 257, as FFmpeg numbers them; inside a session
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

#include <windows.h>
#include <dshow.h>
#include <wrl/client.h>

#include "bench/osd/rounds.h"
#include "contract/maker_interfaces.h"
#include "contract/stream_pipe.h"
#include "player/app/process_state.h"
#include "player/control/pipe_reader.h"
#include "player/graph/player_graph.h"
#include "transport/packet.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

// The platform's filter that takes anything and drops it; this compiler's headers do not declare it.
constexpr CLSID kNullRenderer = {
    0xc1f400a4, 0x3f08, 0x11d3, {0x9f, 0x0b, 0x00, 0x60, 0x08, 0x03, 0x9e, 0x37}};

constexpr ULONG kVideoPid = 256, kAudioPid = 257;
constexpr DWORD kWrite = 65'536; // as the analyzer writes
constexpr DWORD kPipeBytes = DWORD{1} << 20;
constexpr std::uint64_t kBytesPerRound = 64'000'000;
constexpr double kMegabytes = kBytesPerRound / 1e6;
constexpr double kPace = 20e6; // bytes a second, 160 Mbit/s, far below what fills the feed's queue
constexpr int kRounds = 15;
constexpr double kReaderGoal = 0.97; // of the bare loop's speed
constexpr double kGraphGoal = 0.9;   // of the reader's speed

// Both ends of a pipe within this process.
class Pipe {
public:
    explicit Pipe(unsigned id) {
        char name[32];
        (void)std::snprintf(name, sizeof name, kStreamPipeFormat, id);
        server_ = CreateNamedPipeA(name, PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, kPipeBytes, 0,
                                   0, nullptr);
        client = OpenStreamPipe(id);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() = default; // its reader reads until the process ends

    // Everything has been read on return. `pace`: bytes a second, 0 for as fast as it goes.
    void Write(ByteSpan stream, std::uint64_t bytes, double pace) {
        const DWORD begin = GetTickCount();
        std::size_t at = 0;
        for (std::uint64_t sent = 0; sent < bytes; sent += kWrite) {
            DWORD written = 0;
            (void)WriteFile(server_, stream.data() + at, kWrite, &written, nullptr);
            at = at + 2 * kWrite > stream.size() ? 0 : at + kWrite;
            while (pace > 0 && GetTickCount() - begin < static_cast<double>(sent) / pace * 1000) {
                Sleep(1);
            }
        }
        (void)FlushFileBuffers(server_);
    }

    HANDLE client = INVALID_HANDLE_VALUE;

private:
    HANDLE server_ = INVALID_HANDLE_VALUE;
};

[[noreturn]] void ReadBare(HANDLE pipe) {
    std::vector<BYTE> buffer(0xFFFFF); // as much as the player's reader asks for
    for (;;) {
        DWORD bytes = 0;
        if (!ReadFile(pipe, buffer.data(), static_cast<DWORD>(buffer.size()), &bytes, nullptr)) {
            EndProcessAtOnce();
        }
    }
}

double ProcessorSeconds() {
    FILETIME ignored{}, kernel{}, user{};
    (void)GetProcessTimes(GetCurrentProcess(), &ignored, &ignored, &kernel, &user);
    const auto ticks = [](const FILETIME& time) {
        return static_cast<double>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) |
                                   time.dwLowDateTime);
    };
    return (ticks(kernel) + ticks(user)) * 1e-7;
}

ComPtr<IPin> PinNamed(IBaseFilter* filter, const wchar_t* name) {
    ComPtr<IPin> pin;
    (void)filter->FindPin(name, &pin);
    return pin;
}

// Feed filter, the maker's demultiplexer with both PIDs, and a renderer that drops everything at each output.
class Graph {
public:
    bool Build() {
        ComPtr<IGraphBuilder> graph;
        ComPtr<IMediaFilter> timing;
        ComPtr<KorvixDemux> control;
        if (FAILED(
                CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&graph))) ||
            !Add(graph.Get(), CLSID_KorvixFeedFilter, L"feed", feed_) ||
            !Add(graph.Get(), CLSID_KorvixDemux, L"demux", demux_) || FAILED(feed_.As(&data)) ||
            FAILED(demux_.As(&control)) || FAILED(graph.As(&timing)) || FAILED(graph.As(&control_))) {
            return false;
        }
        (void)control->SetVideoType(0);
        (void)control->SetAudioType(0);
        (void)timing->SetSyncSource(nullptr);
        if (FAILED(graph->ConnectDirect(PinNamed(feed_.Get(), L"TS Out").Get(),
                                        PinNamed(demux_.Get(), L"TS In").Get(), nullptr))) {
            return false;
        }
        for (const wchar_t* name : {L"Video Out", L"Audio Out"}) {
            ComPtr<IBaseFilter> sink;
            if (!Add(graph.Get(), kNullRenderer, name, sink) ||
                FAILED(graph->ConnectDirect(PinNamed(demux_.Get(), name).Get(),
                                            PinNamed(sink.Get(), L"In").Get(), nullptr))) {
                return false;
            }
        }
        (void)control->SetPids(kVideoPid, kAudioPid, kVideoPid);
        graph_ = graph;
        return SUCCEEDED(control_->Run());
    }
    void Stop() { (void)control_->Stop(); }

    ComPtr<FeedData> data;

private:
    static bool Add(IGraphBuilder* graph, const CLSID& id, const wchar_t* name, ComPtr<IBaseFilter>& filter) {
        return SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&filter))) &&
               SUCCEEDED(graph->AddFilter(filter.Get(), name));
    }

    ComPtr<IGraphBuilder> graph_;
    ComPtr<IMediaControl> control_;
    ComPtr<IBaseFilter> feed_;
    ComPtr<IBaseFilter> demux_;
};

void Tell(const char* what, const char* peer, double ours, double theirs, double goal) {
    std::printf("%s: %.0f MB/s, %s %.0f MB/s, ratio %.2f, goal %.2f %s\n", what, ours, peer, theirs,
                ours / theirs, goal, ours / theirs >= goal ? "met" : "**missed**");
    std::fflush(stdout);
}

int Run(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::uint8_t> stream(std::size_t{32} << 20);
    file.read(reinterpret_cast<char*>(stream.data()), static_cast<std::streamsize>(stream.size()));
    if (file.gcount() < static_cast<std::streamsize>(2 * kWrite)) {
        std::puts("no stream");
        return 1;
    }
    stream.resize(static_cast<std::size_t>(file.gcount()));
    (void)CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const DWORD id = GetCurrentProcessId();
    Pipe bare(id), ours(id + 1);
    if (bare.client == INVALID_HANDLE_VALUE || ours.client == INVALID_HANDLE_VALUE) {
        std::puts("no pipe");
        return 1;
    }
    std::thread(ReadBare, bare.client).detach();
    PipeHandle = ours.client;
    StartPipeReader();
    const RoundTimes pipes = TakeTurns(
        kRounds, [&] { ours.Write(stream, kBytesPerRound, 0); },
        [&] { bare.Write(stream, kBytesPerRound, 0); });
    Tell("pipe to nowhere", "bare loop of ReadFile", kMegabytes / pipes.ours, kMegabytes / pipes.peer,
         kReaderGoal);

    // The feed filter takes what comes and drops what it has no room for, so speed means processor time here.
    Graph graph;
    if (!graph.Build()) {
        std::puts("no graph: are the filters registered?");
        return 1;
    }
    const auto cost = [&](FeedData* feed) {
        ThePlayerGraph().feedData = feed;
        const double begin = ProcessorSeconds();
        ours.Write(stream, kBytesPerRound, kPace);
        Sleep(200); // until the queues are empty
        ThePlayerGraph().feedData = nullptr;
        return ProcessorSeconds() - begin;
    };
    double alone = cost(nullptr), through = cost(graph.data.Get());
    for (int i = 1; i < 3; ++i) {
        alone = std::min(alone, cost(nullptr));
        through = std::min(through, cost(graph.data.Get()));
    }
    graph.Stop();
    Tell("feed filter and demultiplexer, by processor time", "pipe to nowhere", kMegabytes / through,
         kMegabytes / alone, kGraphGoal);
    std::fflush(stdout);
    // The readers would wait for ever.
    TerminateProcess(GetCurrentProcess(), 0);
    return 0;
}

} // namespace
} // namespace vistrame

int main(int count, char** words) {
    return count == 2 ? vistrame::Run(words[1]) : 2;
}
