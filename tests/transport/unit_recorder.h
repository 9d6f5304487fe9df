#pragma once

#include <iterator>

#include "tests/transport/ts_builder.h"
#include "transport/stream_demultiplexer.h"

namespace vistrame {

// The PIDs of a ProgrammeRecipe.
inline constexpr Pid kVideo = 0x101;
inline constexpr Pid kAudio = 0x102;

inline Bytes Programme(const ProgrammeRecipe& recipe) {
    TsBuilder builder;
    AddProgramme(builder, recipe);
    return Render(builder.packets);
}

// A demultiplexer and everything it delivers.
class UnitRecorder : public StreamHandler {
public:
    struct Unit : StreamUnit { // without its span
        Bytes bytes;
    };

    explicit UnitRecorder(const std::vector<Pid>& pids = {kVideo, kAudio}) {
        for (const Pid pid : pids) {
            demultiplexer.AddStream(pid, StreamKind::kElementary);
        }
    }
    void OnUnit(const StreamUnit& unit) override {
        units.push_back({unit, Bytes(unit.data.begin(), unit.data.end())});
    }
    void OnClock(const ClockReference& clock) override { clocks.push_back(clock); }
    void OnProgrammes() override { ++programmeChanges; }

    std::vector<Unit> Of(Pid pid) const {
        std::vector<Unit> found;
        std::ranges::copy_if(units, std::back_inserter(found), [&](const Unit& u) { return u.pid == pid; });
        return found;
    }
    auto Jumps() const { return std::ranges::count_if(clocks, &ClockReference::jump); }

    std::vector<Unit> units;
    std::vector<ClockReference> clocks;
    int programmeChanges = 0;
    StreamDemultiplexer demultiplexer{*this};
};

} // namespace vistrame
