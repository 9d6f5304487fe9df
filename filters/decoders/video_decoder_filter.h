#pragma once

#include <atomic>
#include <chrono>

#include "filters/base/transform_filter.h"
#include "filters/decoders/picture_output.h"
#include "filters/decoders/video_decoder.h"
#include "filters/kept/still_sink.h"

namespace vistrame {

// Decodes a video elementary stream: MPEG-2 video, H.264 or HEVC (see stream_types.h), and H.264 only as a
// byte stream with start codes.
//
// Samples hold stretches of the stream cut anywhere; whole PES payloads are quickest. A sample's time is that
// of the first picture that starts in it. Missing times are counted on from the picture before.
//
// Pins       "In", "Out".
// Errors     damaged data never comes back as an error: the graph goes on.
class VideoDecoderFilter final : public WithInterfaces<TransformFilter, StillSink> {
public:
    // So long after running, or a flush, a stream must have shown a picture that can be decoded on its own;
    // then whatever decodes is shown. As long as the demultiplexer waits, so that the two wait together.
    static constexpr std::chrono::seconds kPatience{2};

    VideoDecoderFilter();

    // StillSink
    HRESULT STDMETHODCALLTYPE ShowStill(const BYTE* data, ULONG first, ULONG bytes) override;

protected:
    HRESULT CheckInputType(const MediaType& type) override;
    std::vector<MediaType> InputTypes() override;
    void OutputConnecting(IPin& peer) override;
    std::vector<MediaType> OutputTypes() override { return PictureOutput::OfferedTypes(firstSize_); }
    HRESULT CheckOutputType(const MediaType& type) override;
    ALLOCATOR_PROPERTIES NeededBuffers(const MediaType& outputType) override;
    void InputTypeAgreed(const MediaType& type) override;
    void OutputTypeAgreed(const MediaType& type) override;

    HRESULT Starting() override;
    void Running(REFERENCE_TIME start) override;
    void Stopped() override;
    void SegmentPassed() override { BringFirst(); }
    HRESULT Transform(IMediaSample* sample) override;
    void Drain() override;
    void FlushDone() override;

private:
    ~VideoDecoderFilter() override = default;

    void BringFirst();

    PictureOutput pictures_;
    std::unique_ptr<VideoDecoder> decoder_; // for coding_; gives its pictures to pictures_
    Coding coding_ = Coding::kOther;
    PictureOutput::Size firstSize_ = PictureOutput::kLargest;    // of the connection that is tried
    std::atomic<std::chrono::steady_clock::time_point> begun_{}; // to run, or anew after a flush
    std::atomic<bool> firstDue_ = false; // runs, and the renderer has not been given its first picture yet
};

} // namespace vistrame
