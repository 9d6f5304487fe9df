#pragma once

#include <atomic>

#include "filters/base/transform_filter.h"
#include "filters/decoders/audio_decoder.h"
#include "filters/pace/sound_placement.h"
#include "filters/pace/clock_follower.h"
#include "filters/pace/delay_keeper.h"

namespace vistrame {

// Decodes an audio elementary stream: MPEG audio, AC-3, E-AC-3 or AAC (see stream_types.h), to 16-bit PCM of
// the connected format: 48 kHz stereo by preference, whatever the stream has.
//
// Samples hold stretches of the stream cut anywhere; a sample's time is that of the first frame that starts
// in it. Times of the sound run on from sample to sample and follow the stream's own where those differ
// clearly; how that reaches the renderer is SoundPlacement's matter. Where they differ a little, as they do
// while the sender's clock or the graph's runs off from the sound device's, it is played that much faster or
// slower.
//
// Pins       "In", "Out".
// Errors     damaged data never comes back as an error: the graph goes on.
class AudioDecoderFilter final : public TransformFilter, private SoundSink {
public:
    AudioDecoderFilter();

protected:
    HRESULT CheckInputType(const MediaType& type) override;
    std::vector<MediaType> InputTypes() override;
    std::vector<MediaType> OutputTypes() override;
    HRESULT CheckOutputType(const MediaType& type) override;
    ALLOCATOR_PROPERTIES NeededBuffers(const MediaType& outputType) override;
    void InputTypeAgreed(const MediaType& type) override;
    void OutputTypeAgreed(const MediaType& type) override;

    HRESULT Starting() override;
    void Running(REFERENCE_TIME start) override;
    HRESULT Transform(IMediaSample* sample) override;
    void FlushDone() override;

private:
    ~AudioDecoderFilter() override = default;

    void OnSound(std::span<const std::int16_t> samples, std::optional<std::int64_t> time) override;
    REFERENCE_TIME DeviceAhead(std::optional<REFERENCE_TIME> now);
    bool ClockIsTheRenderers() const;
    REFERENCE_TIME Deliver(std::span<const std::int16_t> samples, REFERENCE_TIME start);
    void Restart();

    std::unique_ptr<AudioDecoder> decoder_; // for coding_
    Coding coding_ = Coding::kOther;
    SoundFormat format_;
    // By the device's clock: that of the stream times, running as fast as the system's.
    SoundPlacement placement_;
    // 8 s: stamps jitter by a millisecond, and in what 0.1 % make in that time no sound is left out.
    ClockFollower follower_{8 * kUnitsPerSecond, DelayKeeper::kMaxRate};
    std::optional<REFERENCE_TIME> clocksApart_; // system's minus graph's, when measuring began
    REFERENCE_TIME deviceAhead_ = 0;            // of the stream time since then
    bool clockIsDevice_ = false;
    bool discontinuity_ = true;
    std::int64_t leftOut_ = 0;          // frames before the next that is played; for the trace
    std::atomic<bool> resumed_ = false; // set by the state change, taken by the streaming thread
};

} // namespace vistrame
