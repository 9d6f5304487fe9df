#include "tests/filters/decoders/stream_fixture.h"

#include <fstream>
#include <iterator>
#include <random>

#include "tests/transport/unit_recorder.h"
#include "filters/base/reference_time.h"

namespace vistrame::test {

Bytes ReadTransportStream(const std::string& file) {
    std::ifstream input(VISTRAME_STREAMS + file, std::ios::binary);
    EXPECT_TRUE(input.is_open()) << file;
    return {std::istreambuf_iterator<char>(input), {}};
}

std::vector<StreamPiece> ReadStream(const std::string& file, bool video, int lossPerMille) {
    const Bytes bytes = ReadTransportStream(file);
    UnitRecorder recorder({static_cast<Pid>(video ? 0x100 : 0x101)}); // as FFmpeg numbers them
    std::minstd_rand random(1); // NOLINT(cert-msc51-cpp): the same losses in every run
    for (std::size_t at = 0; at + kPacketSize <= bytes.size(); at += kPacketSize) {
        const bool tablesIn = at > 10 * kPacketSize;
        if (!tablesIn || static_cast<int>(random() % 1000) >= lossPerMille) {
            recorder.demultiplexer.Feed({bytes.data() + at, kPacketSize});
        }
    }
    recorder.demultiplexer.Flush();
    std::vector<StreamPiece> pieces;
    std::optional<std::int64_t> first;
    for (UnitRecorder::Unit& unit : recorder.units) {
        StreamPiece& piece = pieces.emplace_back(std::move(unit.bytes), std::nullopt, unit.discontinuity);
        if (unit.pts) {
            const std::int64_t time = ReferenceFromTicks(unit.pts->timeline);
            first = first.value_or(time);
            piece.time = time - *first;
        }
    }
    EXPECT_FALSE(pieces.empty()) << file;
    return pieces;
}

} // namespace vistrame::test
