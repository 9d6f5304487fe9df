// The companion filters as the player puts them together, between a stream and two sinks.
#pragma once

#include <atomic>

#include "filters/decoders/audio_decoder_filter.h"
#include "filters/decoders/video_decoder_filter.h"
#include "filters/demux/korvix_demux.h"
#include "filters/feed/feed_filter.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

// Counts what comes and keeps nothing of it.
class CountingSink final : public SinkFilter {
public:
    std::atomic<int> timed = 0;   // samples
    std::atomic<int> outside = 0; // samples from a thread that is no member of the multithreaded apartment
    std::atomic<LONG> firstWidth = 0; // of the first picture, which the next one's type may follow at once

private:
    ~CountingSink() override { (void)Stop(); }
    void Look(ByteSpan data, Sample& sample) override;
};

// Whether the calling thread has entered the multithreaded apartment itself; others merely borrow it.
bool InMultithreadedApartment();

inline constexpr ULONG kBroadcastVideo = 0x100, kBroadcastAudio = 0x101; // as FFmpeg numbers them

// A broadcast without end: picture and sound of mpeg2_576i.ts.
class Broadcast {
public:
    Broadcast();

    // At its own pace. Needs no memory.
    void Send(FeedData& feed, DWORD milliseconds);

private:
    Bytes stream_;
    std::size_t at_ = 0;
};

struct PlayingGraph {
    PlayingGraph();

    // The system's renderer instead of the sink for pictures, not connected yet; its input.
    ComPtr<IPin> AddVmr9();

    TestGraph graph;
    FeedFilter* feed = graph.Add(MakeObject<FeedFilter>(), L"feed");
    KorvixDemuxFilter* demux = graph.Add(MakeObject<KorvixDemuxFilter>(), L"demux");
    VideoDecoderFilter* video = graph.Add(MakeObject<VideoDecoderFilter>(), L"video");
    AudioDecoderFilter* audio = graph.Add(MakeObject<AudioDecoderFilter>(), L"audio");
    CountingSink* pictures = graph.Add(MakeObject<CountingSink>(), L"pictures");
    CountingSink* sound = graph.Add(MakeObject<CountingSink>(), L"sound");
};

} // namespace vistrame::test
