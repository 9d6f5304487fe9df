#pragma once

#include <atomic>

#include "filters/base/transform_filter.h"
#include "filters/decoders/audio_decoder.h"
#include "filters/decoders/sound_placement.h"

namespace vistrame {

// Decodes an audio elementary stream: MPEG audio, AC-3, E-AC-3 or AAC (see stream_types.h), to 16-bit PCM of
// the connected format: 48 kHz stereo by preference, whatever the stream has.
//
// Samples hold stretches of the stream cut anywhere; a sample's time is that of the first frame that starts
// in it. Times of the sound run on from sample to sample and follow the stream's own where those differ
// clearly; how that reaches the renderer is SoundPlacement's matter.
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
    REFERENCE_TIME Deliver(std::span<const std::int16_t> samples, REFERENCE_TIME start);
    void Restart();

    std::unique_ptr<AudioDecoder> decoder_; // for coding_
    Coding coding_ = Coding::kOther;
    SoundFormat format_;
    SoundPlacement placement_;
    bool discontinuity_ = true;
    std::int64_t leftOut_ = 0;          // frames before the next that is played; for the trace
    std::atomic<bool> resumed_ = false; // set by the state change, taken by the streaming thread
};

} // namespace vistrame
