// A built programme, sent at the pace of its clock into a demultiplexer between a source and two sinks.
#pragma once

#include <algorithm>
#include <ranges>

#include "filters/base/reference_clock.h"
#include "tests/filters/filter_fakes.h"
#include "tests/transport/ts_builder.h"
#include "transport/clock.h"

namespace vistrame::test {

inline constexpr REFERENCE_TIME kPicture = 40 * kMs;

class LiveProgramme {
public:
    explicit LiveProgramme(SourceFilter& source) : source_(source) {}

    ProgrammeRecipe recipe;
    bool discontinuity = false; // announced with what is sent next

    // Sends the next pictures, each when it is due; `paced` false: at once.
    void Send(int pictures, bool paced = true) {
        for (int i = 0; i < pictures; ++i) {
            builder_.packets.clear();
            ProgrammeRecipe next = recipe;
            next.pictures = 1;
            next.firstPicture = picture_++;
            AddProgramme(builder_, next);
            const Bytes data = Render(builder_.packets);
            EXPECT_EQ(source_.Send(data, std::nullopt, std::exchange(discontinuity, false)), S_OK);
            due_ = std::max(due_, SystemTime() - kPicture) + (paced ? kPicture : 0);
            while (paced && SystemTime() < due_) {
                Sleep(1);
            }
        }
    }
    int Next() const { return picture_; }

private:
    SourceFilter& source_;
    TsBuilder builder_; // whose continuity counters go on
    int picture_ = 0;
    REFERENCE_TIME due_ = 0;
};

// A demultiplexer, what feeds it and what takes what comes out.
template <class Filter>
struct DemuxFixture {
    explicit DemuxFixture(const wchar_t* input) {
        MediaType type(MEDIATYPE_Stream, MEDIASUBTYPE_MPEG2_TRANSPORT);
        type.SetFormat(FORMAT_None, {});
        source->offered = {type};
        EXPECT_EQ(graph.Connect(&source->Output(), PinOf(demux, input).Get()), S_OK);
    }
    void ConnectBoth() {
        EXPECT_EQ(graph.Connect(PinOf(demux, L"Video Out").Get(), &video->Input()), S_OK);
        EXPECT_EQ(graph.Connect(PinOf(demux, L"Audio Out").Get(), &audio->Input()), S_OK);
    }

    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    Filter* demux = graph.Add(MakeObject<Filter>(), L"demux");
    SinkFilter* video = graph.Add(MakeObject<SinkFilter>(), L"video");
    SinkFilter* audio = graph.Add(MakeObject<SinkFilter>(), L"audio");
    LiveProgramme programme{*source};
};

// Which picture or audio frame a sample holds; -1: none of the first thousand.
inline int NumberOf(const SinkFilter::Sample& sample, Bytes (*payload)(int)) {
    const auto numbers = std::views::iota(0, 1000);
    const auto found = std::ranges::find(numbers, sample.data, payload);
    return found == numbers.end() ? -1 : *found;
}
inline int PictureOf(const SinkFilter::Sample& sample) {
    return NumberOf(sample, PicturePayload);
}
inline int AudioFrameOf(const SinkFilter::Sample& sample) {
    return NumberOf(sample, AudioPayload);
}

} // namespace vistrame::test
