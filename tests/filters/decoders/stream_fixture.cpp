#include "tests/filters/decoders/stream_fixture.h"

#include <fstream>
#include <iterator>
#include <random>

#include <gtest/gtest.h>

#include "transport/clock.h"
#include "transport/packet.h"
#include "transport/stream_demultiplexer.h"

namespace vistrame::test {

namespace {

// Selects the first stream of the wanted kind once the tables are in.
class Collector final : public StreamHandler {
public:
    explicit Collector(bool video) : video_(video), demultiplexer_(*this) {}

    StreamDemultiplexer& Demultiplexer() { return demultiplexer_; }
    std::vector<StreamPiece> TakePieces() { return std::move(pieces_); }

    void OnProgrammes() override {
        for (const Programme& programme : demultiplexer_.Programmes().Programmes()) {
            for (const ElementaryStream& stream : programme.streams) {
                if ((video_ ? IsVideo(stream.coding) : IsAudio(stream.coding)) && !selected_) {
                    demultiplexer_.AddStream(stream.pid, StreamKind::kElementary);
                    selected_ = true;
                }
            }
        }
    }
    void OnUnit(const StreamUnit& unit) override {
        StreamPiece& piece = pieces_.emplace_back();
        piece.data.assign(unit.data.begin(), unit.data.end());
        piece.discontinuity = unit.discontinuity;
        if (unit.pts) {
            const std::int64_t time = ReferenceFromTicks(unit.pts->timeline);
            first_ = first_.value_or(time);
            piece.time = time - *first_;
        }
    }
    void OnClock(const ClockReference& /*clock*/) override {}

private:
    const bool video_;
    bool selected_ = false;
    std::optional<std::int64_t> first_;
    std::vector<StreamPiece> pieces_;
    StreamDemultiplexer demultiplexer_;
};

} // namespace

std::vector<StreamPiece> ReadStream(const std::string& file, bool video, int lossPerMille) {
    std::ifstream input(VISTRAME_STREAMS + file, std::ios::binary);
    EXPECT_TRUE(input.is_open()) << file;
    const std::vector<char> bytes((std::istreambuf_iterator<char>(input)), {});
    Collector collector(video);
    std::minstd_rand random(1); // NOLINT(cert-msc51-cpp): the same losses in every run
    for (std::size_t at = 0; at + kPacketSize <= bytes.size(); at += kPacketSize) {
        const bool tablesIn = at > 10 * kPacketSize;
        if (!tablesIn || static_cast<int>(random() % 1000) >= lossPerMille) {
            collector.Demultiplexer().Feed(
                {reinterpret_cast<const std::uint8_t*>(bytes.data()) + at, kPacketSize});
        }
    }
    collector.Demultiplexer().Flush();
    std::vector<StreamPiece> pieces = collector.TakePieces();
    EXPECT_FALSE(pieces.empty()) << file;
    return pieces;
}

} // namespace vistrame::test
