#pragma once

#include "filters/base/transform_filter.h"
#include "filters/decoders/audio_decoder.h"

namespace vistrame {

// Decodes an audio elementary stream: MPEG audio, AC-3, E-AC-3 or AAC in LATM (see stream_types.h), to 16-bit PCM
// of the connected format: 48 kHz stereo by preference, whatever the stream has.
//
// Samples hold stretches of the stream cut anywhere; a sample's time is that of the first frame that starts in
// it. Times of the sound run on from sample to sample and follow the stream's own where those differ by more
// than kTolerance, which is then a discontinuity.
//
// Pins       "In", "Out".
// Errors     damaged data never comes back as an error: the graph goes on.
class AudioDecoderFilter final : public TransformFilter, private SoundSink {
public:
    // Above the rounding of 90 kHz stamps and their jitter, below what is noticed as a wrong lip.
    static constexpr REFERENCE_TIME kTolerance = 100'000; // 10 ms

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
    HRESULT Transform(IMediaSample* sample) override;
    void FlushDone() override;

private:
    ~AudioDecoderFilter() override = default;

    void OnSound(std::span<const std::int16_t> samples, std::optional<std::int64_t> time) override;
    void Deliver(std::span<const std::int16_t> samples);
    void Restart();

    std::unique_ptr<AudioDecoder> decoder_; // for coding_
    Coding coding_ = Coding::kOther;
    SoundFormat format_;
    // Where the next sound belongs: `counted_` samples after `base_`, so that nothing is lost to rounding.
    std::optional<REFERENCE_TIME> base_;
    std::int64_t counted_ = 0;
    bool discontinuity_ = true;
};

} // namespace vistrame
