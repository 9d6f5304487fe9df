// How fast the demultiplexer goes through a stream of one programme, both streams selected, over a plain copy
// of as many bytes in the same run. With a file and its PIDs it goes through that once and says nothing, for
// bench/transport/peers, which times it as a process.
//
// usage: demultiplexer_bench [FILE VIDEO-PID AUDIO-PID]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "bench/osd/rounds.h"
#include "tests/transport/ts_builder.h"
#include "transport/stream_demultiplexer.h"

namespace vistrame {
namespace {

class Counter final : public StreamHandler {
public:
    void OnUnit(const StreamUnit& unit) override { bytes += unit.data.size(); }
    void OnClock(const ClockReference&) override {}
    std::size_t bytes = 0;
};

int Run() {
    TsBuilder builder;
    const ProgrammeRecipe recipe{.pictures = 3000};
    AddProgramme(builder, recipe);
    const Bytes stream = Render(builder.packets);
    Bytes copy(stream.size());
    Counter counter;
    std::printf("%-26s %10s %12s %s\n", "demultiplexer", "MB/s", "memcpy MB/s", "memcpy / demultiplexer");
    for (const std::size_t chunk : {std::size_t{65'536}, std::size_t{1316}, std::size_t{1000}}) {
        const auto demultiplex = [&] {
            StreamDemultiplexer demultiplexer(counter);
            demultiplexer.AddStream(recipe.videoPid, StreamKind::kElementary);
            demultiplexer.AddStream(recipe.audioPid, StreamKind::kElementary);
            for (std::size_t at = 0; at < stream.size(); at += chunk) {
                demultiplexer.Feed(ByteSpan(stream).subspan(at, std::min(chunk, stream.size() - at)));
            }
        };
        const RoundTimes times =
            TakeTurns(41, demultiplex, [&] { std::memcpy(copy.data(), stream.data(), stream.size()); });
        const double megabytes = static_cast<double>(stream.size()) / 1e6;
        std::printf("chunks of %-16zu %10.0f %12.0f %.2f\n", chunk, megabytes / times.ours,
                    megabytes / times.peer, times.ours / times.peer);
    }
    return counter.bytes > 0 ? 0 : 1;
}

int ReadThrough(const char* path, Pid video, Pid audio) {
    Counter counter;
    StreamDemultiplexer demultiplexer(counter);
    demultiplexer.AddStream(video, StreamKind::kElementary);
    demultiplexer.AddStream(audio, StreamKind::kElementary);
    std::ifstream file(path, std::ios::binary);
    Bytes chunk(65'536);
    while (file.read(reinterpret_cast<char*>(chunk.data()), static_cast<std::streamsize>(chunk.size())) ||
           file.gcount() > 0) {
        demultiplexer.Feed(ByteSpan(chunk).first(static_cast<std::size_t>(file.gcount())));
    }
    return counter.bytes > 0 ? 0 : 1;
}

} // namespace
} // namespace vistrame

int main(int count, char** words) {
    if (count == 4) {
        return vistrame::ReadThrough(words[1], static_cast<vistrame::Pid>(std::atoi(words[2])),
                                     static_cast<vistrame::Pid>(std::atoi(words[3])));
    }
    return vistrame::Run();
}
