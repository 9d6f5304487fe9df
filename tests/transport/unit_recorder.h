#pragma once

#include <algorithm>
#include <functional>
#include <vector>

#include "tests/transport/ts_builder.h"
#include "transport/stream_demultiplexer.h"

namespace vistrame {

// Keeps everything a demultiplexer delivers; a test may hook in to call it back.
class UnitRecorder final : public StreamHandler {
public:
    struct Unit {
        StreamUnit unit; // without its bytes
        Bytes data;
    };

    void OnUnit(const StreamUnit& unit) override {
        units.push_back({unit, Bytes(unit.data.begin(), unit.data.end())});
        units.back().unit.data = {};
        if (onUnit) {
            onUnit(unit);
        }
    }
    void OnClock(const ClockReference& clock) override { clocks.push_back(clock); }
    void OnProgrammes() override { ++programmeChanges; }

    std::vector<Unit> Of(Pid pid) const {
        std::vector<Unit> found;
        std::ranges::copy_if(units, std::back_inserter(found),
                             [&](const Unit& u) { return u.unit.pid == pid; });
        return found;
    }

    std::vector<Unit> units;
    std::vector<ClockReference> clocks;
    int programmeChanges = 0;
    std::function<void(const StreamUnit&)> onUnit;
};

inline void FeedChunks(StreamDemultiplexer& demultiplexer, const Bytes& bytes, std::size_t chunk) {
    for (std::size_t at = 0; at < bytes.size(); at += chunk) {
        demultiplexer.Feed(ByteSpan(bytes).subspan(at, std::min(chunk, bytes.size() - at)));
    }
}

} // namespace vistrame
