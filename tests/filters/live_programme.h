// A built programme, sent at the pace of its clock into a demultiplexer between a source and two sinks.
#pragma once

#include <algorithm>
#include <functional>

#include "filters/base/reference_clock.h"
#include "tests/filters/filter_fakes.h"
#include "tests/transport/ts_builder.h"
#include "transport/clock.h"

namespace vistrame::test {

inline constexpr REFERENCE_TIME kMs = 10'000;
inline constexpr REFERENCE_TIME kPicture = 40 * kMs;

class LiveProgramme {
public:
    explicit LiveProgramme(SourceFilter& source) : source_(source) {}

    ProgrammeRecipe recipe;
    // Damages or drops packets before they are sent.
    std::function<void(std::vector<TsBuilder::Packet>&)> damage;

    // Sends the next pictures, each when it is due; `paced` false: at once.
    void Send(int pictures, bool paced = true) {
        for (int i = 0; i < pictures; ++i) {
            TsBuilder builder;
            ProgrammeRecipe next = recipe;
            next.pictures = 1;
            next.firstPicture = picture_++;
            AddProgramme(builder, next);
            Continue(builder.packets);
            if (damage) {
                damage(builder.packets);
            }
            const Bytes data = Render(builder.packets);
            EXPECT_EQ(source_.Send(data, std::nullopt, std::exchange(discontinuity_, false)), S_OK);
            due_ = std::max(due_, SystemTime() - kPicture) + (paced ? kPicture : 0);
            while (paced && SystemTime() < due_) {
                Sleep(1);
            }
        }
    }
    // Time passes and nothing is sent.
    void Miss(DWORD milliseconds) { Sleep(milliseconds); }
    // The clock jumps by so many 90 kHz ticks.
    void Jump(std::int64_t ticks) { recipe.start += ticks; }
    void MarkDiscontinuity() { discontinuity_ = true; }
    int Next() const { return picture_; }

private:
    // Continuity counters go on across builders.
    void Continue(std::vector<TsBuilder::Packet>& packets) {
        for (TsBuilder::Packet& packet : packets) {
            const Pid pid = static_cast<Pid>((packet[1] & 0x1F) << 8 | packet[2]);
            const bool payload = (packet[3] & 0x10) != 0;
            unsigned& counter = counters_[pid];
            counter = (counter + (payload ? 1 : 0)) & 0x0F;
            packet[3] = static_cast<std::uint8_t>((packet[3] & 0xF0) | counter);
        }
    }

    SourceFilter& source_;
    int picture_ = 0;
    REFERENCE_TIME due_ = 0;
    bool discontinuity_ = false;
    std::map<Pid, unsigned> counters_;
};

// Which picture or audio frame a sample holds; -1: none of the first thousand.
inline int PictureOf(const SinkFilter::Sample& sample) {
    for (int i = 0; i < 1000; ++i) {
        if (sample.data == PicturePayload(i)) {
            return i;
        }
    }
    return -1;
}
inline int AudioFrameOf(const SinkFilter::Sample& sample) {
    for (int i = 0; i < 2000; ++i) {
        if (sample.data == AudioPayload(i)) {
            return i;
        }
    }
    return -1;
}

} // namespace vistrame::test
