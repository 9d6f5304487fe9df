// Any bytes as a stream, in any chunks, with changes asked for inside handlers. The first byte says which
// change and after how many units, the second the size of the chunks. What must hold whatever the stream is
// aborts when it does not.
#include <algorithm>
#include <functional>
#include <numeric>

#include "tests/fuzz/require.h"
#include "transport/clock.h"
#include "transport/stream_demultiplexer.h"

namespace {

using namespace vistrame;

class Checker final : public StreamHandler {
public:
    Checker(unsigned change, unsigned after) : change_(change), after_(after) {}

    void OnUnit(const StreamUnit& unit) override {
        sum = std::accumulate(unit.data.begin(), unit.data.end(), sum);
        bytes += unit.data.size();
        Require(demultiplexer->Selected(unit.pid));
        Require(unit.pts.has_value() == unit.dts.has_value());
        if (unit.pts) {
            Require(unit.pts->timeline - unit.dts->timeline == TickDifference(unit.pts->raw, unit.dts->raw));
        }
        if (unit.data.size() % 2 == 0) { // keeps it, and leaves what it kept before
            kept_.swap(*unit.memory);
            unit.memory->clear();
        }
        if (++units_ > after_) {
            units_ = 0;
            Change(unit.pid);
        }
    }
    void OnClock(const ClockReference& clock) override {
        Require(clock.segment >= segment_);
        Require(!clock.jump || clock.segment > segment_);
        segment_ = clock.segment;
    }
    void OnProgrammes() override {
        for (const Programme& programme : demultiplexer->Programmes().Programmes()) {
            for (const ElementaryStream& stream : programme.streams) {
                if (!demultiplexer->Selected(stream.pid) && demultiplexer->SelectedPids().size() < 20) {
                    demultiplexer->AddStream(stream.pid, StreamKind::kElementary);
                }
            }
        }
    }

    StreamDemultiplexer* demultiplexer = nullptr;
    std::size_t bytes = 0;
    std::uint64_t sum = 0; // so that every byte really is read

private:
    void Change(Pid pid) {
        StreamDemultiplexer& d = *demultiplexer;
        const std::function<void()> changes[8] = {
            [] {},
            [&] { d.RemoveStream(pid); },
            [&] { d.AddStream(pid, StreamKind::kPes); },
            [&] { segment_ = 0, d.Reset(); },
            [&] { d.Flush(); },
            [&] { d.AnnounceDiscontinuity(); },
            [&] { d.SetClockPid(pid); },
            [&] { d.RemoveAllStreams(), d.AddStream(pid, StreamKind::kElementary); },
        };
        changes[change_]();
    }

    unsigned change_;
    unsigned after_;
    unsigned units_ = 0;
    std::uint32_t segment_ = 0;
    std::vector<std::uint8_t> kept_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    Checker checker(data[0] >> 4 & 7U, data[0] & 15U);
    StreamDemultiplexer demultiplexer(checker);
    checker.demultiplexer = &demultiplexer;
    demultiplexer.EarlyUnits((data[0] & 0x80) == 0);
    demultiplexer.AddStream(0x101, StreamKind::kElementary);
    const std::size_t chunk = std::size_t{8} * data[1] + 1;
    const ByteSpan stream(data + 2, size - 2);
    for (std::size_t at = 0; at < stream.size(); at += chunk) {
        demultiplexer.Feed(stream.subspan(at, std::min(chunk, stream.size() - at)));
    }
    demultiplexer.Flush();
    Require(demultiplexer.Packets() * kPacketSize + demultiplexer.DroppedBytes() <= stream.size());
    Require(checker.bytes <= stream.size() && checker.sum <= 255 * checker.bytes);
    return 0;
}
