// What the way of the stream costs: how fast bytes go through the pipe into the player that has no graph yet,
// over a bare loop of ReadFile in a process of its own; then into feed filter and demultiplexer without
// decoders, over the first.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "analyzer/session/launch_line.h"
#include "analyzer/stream/pipe_server.h"
#include "contract/pid.h"
#include "contract/stream_pipe.h"
#include "tests/filters/decoders/stream_fixture.h"
#include "tests/filters/play/playing_graph.h"

namespace vistrame {
namespace {

constexpr std::size_t kWrite = 64 << 10;
constexpr std::size_t kBytes = std::size_t{256} << 20;
constexpr std::uint32_t kFirstPipe = 4711;
constexpr int kRounds = 5;

HANDLE OpenPipe(std::uint32_t id) {
    char name[32];
    (void)std::snprintf(name, sizeof name, kStreamPipeFormat, static_cast<unsigned>(id));
    HANDLE pipe = INVALID_HANDLE_VALUE;
    for (int i = 0; i < 100 && pipe == INVALID_HANDLE_VALUE; ++i, Sleep(20)) {
        pipe = CreateFileA(name, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    }
    return pipe;
}

template <class Taker>
int ReadAll(std::uint32_t pipeId, Taker take) {
    static std::vector<BYTE> buffer(0xFFFFF);
    const HANDLE pipe = OpenPipe(pipeId);
    DWORD bytes = 0;
    while (ReadFile(pipe, buffer.data(), static_cast<DWORD>(buffer.size()), &bytes, nullptr) != FALSE) {
        take(buffer.data(), bytes);
    }
    return 0;
}

// The same with all that is between pipe and decoders behind it.
int ReadIntoFilters(std::uint32_t pipeId) {
    test::TestGraph graph;
    auto* feed = graph.Add(MakeObject<FeedFilter>(), L"feed");
    auto* demux = graph.Add(MakeObject<KorvixDemuxFilter>(), L"demux");
    auto* pictures = graph.Add(MakeObject<test::CountingSink>(), L"pictures");
    if (FAILED(graph.Connect(test::PinOf(feed, L"TS Out").Get(), test::PinOf(demux, L"TS In").Get())) ||
        FAILED(graph.Connect(test::PinOf(demux, L"Video Out").Get(), &pictures->Input()))) {
        return 1;
    }
    ComPtr<KorvixDemux> selection;
    ComPtr<FeedData> data;
    if (FAILED(demux->QueryInterface(IID_PPV_ARGS(&selection))) ||
        FAILED(feed->QueryInterface(IID_PPV_ARGS(&data)))) {
        return 1;
    }
    (void)selection->SetPids(0x100, kNullPid, 0x100);
    graph.Run();
    return ReadAll(pipeId, [&](const BYTE* bytes, DWORD count) { (void)data->DeliverData(bytes, count); });
}

// Megabytes per second into the process that the command starts; 0 on failure.
double Rate(const std::string& program, const std::string& arguments, std::uint32_t pipeId,
            const test::Bytes& stream) {
    PipeServer pipe;
    std::string line = '"' + program + "\" " + arguments;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!pipe.Create(pipeId) || CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                               nullptr, &startup, &process) == FALSE) {
        return 0;
    }
    for (int i = 0; i < 500 && !pipe.Connected(); ++i) {
        Sleep(10);
    }
    Sleep(500); // what a start leaves to do
    std::size_t sent = 0;
    const auto start = std::chrono::steady_clock::now();
    for (bool goes = true; goes && sent < kBytes; sent += kWrite) {
        goes = pipe.Write(
            ByteSpan(stream).subspan(sent % (stream.size() - kWrite) / kPacketSize * kPacketSize, kWrite));
    }
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    pipe.Close(); // its end, for each of them
    if (WaitForSingleObject(process.hProcess, 5000) != WAIT_OBJECT_0) {
        (void)TerminateProcess(process.hProcess, 1);
    }
    (void)CloseHandle(process.hThread);
    (void)CloseHandle(process.hProcess);
    return sent >= kBytes ? static_cast<double>(kBytes) / 1e6 / seconds : 0;
}

int Run(const std::string& self) {
    const test::Bytes stream = test::ReadTransportStream("h264_1080i.ts");
    const HWND window =
        CreateWindowA("STATIC", "", WS_OVERLAPPEDWINDOW, 0, 0, 300, 200, nullptr, nullptr, nullptr, nullptr);
    double bare = 0, player = 0, filters = 0;
    std::uint32_t id = kFirstPipe;
    for (int round = 0; round < kRounds; ++round) {
        bare = std::max(bare, Rate(self, "bare " + std::to_string(id), id, stream));
        ++id;
        const LaunchLine launch{
            .parentWindow = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(window)),
            .pipeId = id};
        player = std::max(player, Rate(VISTRAME_PLAYER, FormatLaunchLine(launch), id, stream));
        ++id;
        filters = std::max(filters, Rate(self, "filters " + std::to_string(id), id, stream));
        ++id;
    }
    std::printf("%-40s %10s %10s %10s\n", "through the pipe", "MB/s", "peer MB/s", "ratio");
    std::printf("%-40s %10.0f %10.0f %10.2f  goal 0.97\n", "player without a graph / bare ReadFile", player,
                bare, player / bare);
    std::printf("%-40s %10.0f %10.0f %10.2f  goal 0.90\n", "feed and demultiplexer / player", filters, player,
                filters / player);
    return bare > 0 && player > 0 && filters > 0 ? 0 : 1;
}

} // namespace
} // namespace vistrame

int main(int count, char** words) {
    using namespace vistrame;
    if (count == 3) {
        const auto id = static_cast<std::uint32_t>(std::strtoul(words[2], nullptr, 10));
        return std::strcmp(words[1], "filters") == 0 ? ReadIntoFilters(id)
                                                     : ReadAll(id, [](const BYTE*, DWORD) {});
    }
    return Run(words[0]);
}
