#include "filters/decoders/video_decoder.h"

#include <algorithm>

#include "filters/base/guarded.h"
#include "filters/base/reference_time.h"
#include "filters/decoders/access_unit_splitter.h"
#include "filters/decoders/av_handles.h"
#include "transport/access_unit.h"

extern "C" {
#include <libavutil/mastering_display_metadata.h>
}

namespace vistrame {

namespace {

AVCodecID CodecOf(Coding coding) {
    switch (coding) {
        case Coding::kMpeg1Video:
        case Coding::kMpeg2Video:
            return AV_CODEC_ID_MPEG2VIDEO; // decodes the older coding too
        case Coding::kH264:
            return AV_CODEC_ID_H264;
        case Coding::kHevc:
            return AV_CODEC_ID_HEVC;
        default:
            return AV_CODEC_ID_NONE;
    }
}

constexpr std::int64_t kUsualDuration = kUnitsPerSecond / 25; // 25 pictures/s, while the stream does not tell

class AvVideoDecoder final : public VideoDecoder {
public:
    AvVideoDecoder(Coding coding, PictureSink& sink)
        : coding_(coding),
          sink_(sink),
          splitter_(coding, [this](const AccessUnit& unit) { DecodeUnit(unit); }) {}

    bool Open() {
        const AVCodec* codec = avcodec_find_decoder(CodecOf(coding_));
        if (codec == nullptr) {
            return false;
        }
        av_log_set_level(AV_LOG_QUIET); // damage is what this is made for, and there is no console
        context_.reset(avcodec_alloc_context3(codec));
        packet_.reset(av_packet_alloc());
        frame_.reset(av_frame_alloc());
        if (context_ == nullptr || packet_ == nullptr || frame_ == nullptr) {
            return false;
        }
        // By slices: threads that take a whole picture each would add a picture of delay apiece.
        context_->thread_count = 2;
        context_->thread_type = FF_THREAD_SLICE;
        context_->pkt_timebase = {1, static_cast<int>(kUnitsPerSecond)};
        return avcodec_open2(context_.get(), codec, nullptr) >= 0;
    }

    void Decode(ByteSpan payload, std::optional<std::int64_t> time) override {
        splitter_.Feed(payload, time);
    }

    bool DecodeAlone(ByteSpan picture) override {
        BeginAnew();
        FillPacket(*packet_, picture);
        Preview(std::nullopt);
        const bool shown = firstShown_;
        BeginAnew();
        return shown;
    }

    void Gap() override { splitter_.Flush(); }

    void Drain() override {
        splitter_.Flush();
        DrainCodec();
        BeginAnew();
    }

    void Flush() override {
        splitter_.Reset();
        BeginAnew();
        nextStart_.reset();
    }

    void ShowAnything() override { showAnything_ = showAnything_ || !firstShown_; }

    void SetSkip(VideoSkip skip) override {
        constexpr AVDiscard kDiscard[] = {AVDISCARD_DEFAULT, AVDISCARD_NONREF, AVDISCARD_NONKEY};
        context_->skip_frame = kDiscard[static_cast<int>(skip)];
    }

private:
    void BeginAnew() {
        avcodec_flush_buffers(context_.get());
        context_->flags2 &= ~AV_CODEC_FLAG2_SHOW_ALL;
        firstShown_ = false;
        previewed_ = false;
        showAnything_ = false;
    }

    void DecodeUnit(const AccessUnit& unit) {
        FillPacket(*packet_, unit.data);
        const bool begins = IsRandomAccessPoint(coding_, unit.data);
        if (begins && coding_ == Coding::kMpeg2Video) {
            // A sequence header; the codec would keep the colours of the last one that stated any.
            context_->colorspace = AVCOL_SPC_UNSPECIFIED;
            context_->color_primaries = AVCOL_PRI_UNSPECIFIED;
            context_->color_trc = AVCOL_TRC_UNSPECIFIED;
        }
        if (begins && !firstShown_ && !previewed_) {
            Preview(unit.time);
        }
        if (!firstShown_ && showAnything_) {
            context_->flags2 |= AV_CODEC_FLAG2_SHOW_ALL;
        }
        SendUnit(unit.time);
        av_packet_unref(packet_.get());
    }

    // Once only: it makes the codec forget what it has, and where every picture is marked as one to begin
    // with, a stream refreshed piece by piece would never come together.
    void Preview(std::optional<std::int64_t> time) {
        previewed_ = true;
        preview_ = true;
        SendUnit(time);
        DrainCodec();
        preview_ = false;
        avcodec_flush_buffers(context_.get());
    }

    // What is in the packet.
    void SendUnit(std::optional<std::int64_t> time) {
        packet_->pts = time.value_or(AV_NOPTS_VALUE);
        packet_->dts = AV_NOPTS_VALUE;
        // A unit that is too damaged to decode yields no picture; the next one may.
        (void)avcodec_send_packet(context_.get(), packet_.get());
        ReceivePictures();
    }

    void DrainCodec() {
        (void)avcodec_send_packet(context_.get(), nullptr);
        ReceivePictures();
    }

    void ReceivePictures() {
        while (avcodec_receive_frame(context_.get(), frame_.get()) >= 0) {
            // Without memory this picture is lost; what is under way here, a preview above all, has to come
            // to its end.
            (void)Guarded([this] {
                ShowFrame();
                return S_OK;
            });
            av_frame_unref(frame_.get());
        }
    }

    void ShowFrame() {
        firstShown_ = true;
        Picture picture;
        std::copy_n(frame_->data, picture.planes.size(), picture.planes.begin());
        std::copy_n(frame_->linesize, picture.strides.size(), picture.strides.begin());
        picture.counted = frame_.get();
        picture.format = frame_->format;
        picture.width = frame_->width;
        picture.height = frame_->height;
        // An HEVC field is a picture of its own with half the lines.
        const bool field = coding_ == Coding::kHevc && frame_->interlaced_frame != 0;
        picture.interlaced = frame_->interlaced_frame != 0 && !field;
        picture.topFieldFirst = frame_->top_field_first != 0;
        const AVRational shape = frame_->sample_aspect_ratio;
        const std::int64_t lines = std::int64_t{picture.height} * (field ? 2 : 1);
        picture.aspect = shape.num > 0 && shape.den > 0
                             ? Aspect::Reduced(std::int64_t{picture.width} * shape.num, lines * shape.den)
                             : Aspect::Reduced(picture.width, lines);
        picture.colours = {frame_->colorspace, frame_->color_range == AVCOL_RANGE_JPEG,
                           frame_->color_primaries, frame_->color_trc, Peak()};
        picture.chromaPlace = frame_->chroma_location;
        PlaceInTime(picture);
        sink_.OnPicture(picture);
    }

    void PlaceInTime(Picture& picture) {
        const std::int64_t one = UsualDuration();
        picture.duration = one + one * frame_->repeat_pict / 2;
        if (preview_) {
            return;
        }
        if (frame_->pts != AV_NOPTS_VALUE) {
            nextStart_ = frame_->pts;
        }
        picture.start = nextStart_;
        if (nextStart_) {
            *nextStart_ += picture.duration;
        }
        // Film at 24 pictures/s in a stream of 30 shows one for three fields, the next for two; each gets two
        // and a half instead.
        const bool repeats = frame_->repeat_pict == 1;
        if (repeats && !repeated_) {
            picture.duration -= one / 4;
        } else if (!repeats && repeated_) {
            picture.duration += one / 4;
            if (picture.start) {
                *picture.start -= one / 4;
            }
        }
        repeated_ = repeats;
    }

    // cd/m2 of the display that the picture was made on, else of the brightest in the stream; 0: not said.
    int Peak() const {
        const auto data = [&](AVFrameSideDataType type) -> const void* {
            const AVFrameSideData* found = av_frame_get_side_data(frame_.get(), type);
            return found != nullptr ? found->data : nullptr;
        };
        const auto* display =
            static_cast<const AVMasteringDisplayMetadata*>(data(AV_FRAME_DATA_MASTERING_DISPLAY_METADATA));
        if (display != nullptr && display->has_luminance != 0 && display->max_luminance.den > 0) {
            return static_cast<int>(av_q2d(display->max_luminance));
        }
        const auto* light =
            static_cast<const AVContentLightMetadata*>(data(AV_FRAME_DATA_CONTENT_LIGHT_LEVEL));
        return light != nullptr ? static_cast<int>(light->MaxCLL) : 0;
    }

    std::int64_t UsualDuration() const {
        const AVRational rate = context_->framerate;
        const bool sensible =
            rate.num > 0 && rate.den > 0 && rate.num >= 5LL * rate.den && rate.num <= 240LL * rate.den;
        return sensible ? kUnitsPerSecond * rate.den / rate.num : kUsualDuration;
    }

    const Coding coding_;
    PictureSink& sink_;
    AccessUnitSplitter splitter_;
    AvPtr<AVCodecContext> context_;
    AvPtr<AVPacket> packet_;
    AvPtr<AVFrame> frame_;
    bool firstShown_ = false;
    bool previewed_ = false;                // the first picture to begin with
    bool preview_ = false;                  // under way
    bool showAnything_ = false;             // no matter what it refers to
    bool repeated_ = false;                 // the last one asked for one of its fields again
    std::optional<std::int64_t> nextStart_; // of a picture without a time of its own
};

} // namespace

std::unique_ptr<VideoDecoder> MakeVideoDecoder(Coding coding, PictureSink& sink) {
    auto decoder = std::make_unique<AvVideoDecoder>(coding, sink);
    return decoder->Open() ? std::move(decoder) : nullptr;
}

} // namespace vistrame
