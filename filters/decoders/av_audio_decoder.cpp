#include "filters/decoders/audio_decoder.h"

#include <cmath>
#include <vector>

#include "filters/base/reference_time.h"
#include "filters/decoders/av_handles.h"
#include "filters/decoders/sound_limiter.h"
#include "transport/aac_framing.h"
#include "transport/dual_mono.h"

extern "C" {
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace vistrame {

namespace {

AVCodecID CodecOf(Coding coding) {
    switch (coding) {
        case Coding::kMpegAudio:
            return AV_CODEC_ID_MP2; // any layer
        case Coding::kAc3:
        case Coding::kEac3:
            return AV_CODEC_ID_EAC3; // and its predecessor
        case Coding::kAacLatm:
            return AV_CODEC_ID_AAC_LATM;
        case Coding::kAacAdts:
            return AV_CODEC_ID_AAC;
        default:
            return AV_CODEC_ID_NONE;
    }
}

class AvAudioDecoder final : public AudioDecoder {
public:
    AvAudioDecoder(Coding coding, SoundSink& sink) : coding_(coding), sink_(sink) {}
    ~AvAudioDecoder() override {
        swr_free(&resampler_);
        av_channel_layout_uninit(&source_.layout);
    }

    bool Open() {
        parser_.reset();
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
        context_->pkt_timebase = {1, kUnitsPerSecond};
        context_->err_recognition = AV_EF_CRCCHECK; // a damaged frame is concealed rather than heard
        AVDictionary* options = nullptr;
        av_dict_set(&options, "dual_mono_mode", "main", 0); // AAC's decoder alone knows this
        const int opened = avcodec_open2(context_.get(), codec, &options);
        av_dict_free(&options);
        if (opened < 0) {
            context_.reset();
            return false;
        }
        Flush();
        return parser_ != nullptr;
    }

    void SetFormat(SoundFormat format) override {
        if (format != format_) {
            format_ = format;
            swr_free(&resampler_);
        }
    }

    void SetSpeed(double faster) override { faster_ = faster; }

    void Decode(ByteSpan payload, std::optional<std::int64_t> time) override {
        FollowFraming(payload);
        std::int64_t pts = time.value_or(AV_NOPTS_VALUE);
        while (!payload.empty() && parser_ != nullptr) {
            std::uint8_t* frame = nullptr;
            int bytes = 0;
            const int used = av_parser_parse2(parser_.get(), context_.get(), &frame, &bytes, payload.data(),
                                              static_cast<int>(payload.size()), pts, AV_NOPTS_VALUE, 0);
            if (used < 0 || (used == 0 && bytes == 0)) {
                return;
            }
            pts = AV_NOPTS_VALUE; // the parser has noted where it belongs
            payload = payload.subspan(static_cast<std::size_t>(used));
            if (bytes > 0) {
                DecodeFrame({frame, static_cast<std::size_t>(bytes)});
            }
        }
    }

    void Flush() override {
        if (context_ == nullptr) {
            return;
        }
        parser_.reset(av_parser_init(CodecOf(coding_))); // there is no way to empty one
        avcodec_flush_buffers(context_.get());
    }

private:
    // What the resampler was set up for.
    struct Source {
        int rate = 0;
        int format = -1;
        AVChannelLayout layout{};
        bool dualMono = false;
    };

    // Whoever connects this knows of AAC only that it is AAC.
    void FollowFraming(ByteSpan payload) {
        if (coding_ != Coding::kAacLatm && coding_ != Coding::kAacAdts) {
            return;
        }
        const Coding other = coding_ == Coding::kAacLatm ? Coding::kAacAdts : Coding::kAacLatm;
        if (!HoldsAacFrame(coding_, payload) && HoldsAacFrame(other, payload)) {
            coding_ = other;
            (void)Open(); // without memory there is no sound until the framing changes again
        }
    }

    void DecodeFrame(ByteSpan bytes) {
        dualMono_ = IsDualMono(coding_, bytes);
        FillPacket(*packet_, bytes);
        packet_->pts = parser_->pts;
        packet_->dts = AV_NOPTS_VALUE;
        (void)avcodec_send_packet(context_.get(), packet_.get()); // what cannot be decoded yields no sound
        while (avcodec_receive_frame(context_.get(), frame_.get()) >= 0) {
            Resample();
            av_frame_unref(frame_.get());
        }
    }

    void Resample() {
        if (!PrepareResampler()) {
            return;
        }
        // Said anew with each frame, since it holds for a stretch only; this one is long for fine steps.
        const int stretch = 10 * format_.rate;
        (void)swr_set_compensation(resampler_, static_cast<int>(std::lround(-faster_ * stretch)), stretch);
        // Samples that the resampler still holds come first, and theirs is the earlier time.
        const std::int64_t held = swr_get_delay(resampler_, kUnitsPerSecond);
        const int room = swr_get_out_samples(resampler_, frame_->nb_samples);
        if (room <= 0) {
            return;
        }
        const auto channels = static_cast<std::size_t>(format_.channels);
        mixed_.resize(static_cast<std::size_t>(room) * channels);
        auto* target = reinterpret_cast<std::uint8_t*>(mixed_.data());
        const int made =
            swr_convert(resampler_, &target, room, const_cast<const std::uint8_t**>(frame_->extended_data),
                        frame_->nb_samples);
        if (made > 0) {
            const bool timed = frame_->pts != AV_NOPTS_VALUE;
            const auto mixed = std::span(mixed_).first(static_cast<std::size_t>(made) * channels);
            sound_.resize(mixed.size());
            limiter_.Apply(mixed, format_.channels, format_.rate, sound_);
            sink_.OnSound(sound_, timed ? std::optional<std::int64_t>(frame_->pts - held) : std::nullopt);
        }
    }

    // Sets the resampler up anew when the frame's format is another than before.
    bool PrepareResampler() {
        const bool dualMono = dualMono_ && frame_->ch_layout.nb_channels == 2;
        const bool same = resampler_ != nullptr && source_.rate == frame_->sample_rate &&
                          source_.format == frame_->format && source_.dualMono == dualMono &&
                          av_channel_layout_compare(&source_.layout, &frame_->ch_layout) == 0;
        if (same) {
            return true;
        }
        swr_free(&resampler_);
        source_.rate = frame_->sample_rate;
        source_.format = frame_->format;
        source_.dualMono = dualMono;
        if (av_channel_layout_copy(&source_.layout, &frame_->ch_layout) < 0 || !OpenResampler()) {
            swr_free(&resampler_);
        }
        return resampler_ != nullptr;
    }

    // Centre and surround are mixed in at the usual 3 dB less and nothing is turned down for it, so that 5.1
    // is as loud as stereo; the limiter sees to what adds up to too much. Levels that a stream gives for this
    // are not heeded: encoders fill them in by themselves, and then programmes differ in loudness.
    bool OpenResampler() {
        static constexpr int kFirstTwice[] = {0, 0};
        AVChannelLayout target{};
        av_channel_layout_default(&target, format_.channels);
        return swr_alloc_set_opts2(&resampler_, &target, AV_SAMPLE_FMT_FLT, format_.rate, &source_.layout,
                                   static_cast<AVSampleFormat>(source_.format), source_.rate, 0,
                                   nullptr) >= 0 &&
               av_opt_set_int(resampler_, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0) >= 0 &&
               // From the start, so that a change of speed does not begin it anew.
               av_opt_set_int(resampler_, "flags", SWR_FLAG_RESAMPLE, 0) >= 0 &&
               (!source_.dualMono || swr_set_channel_mapping(resampler_, kFirstTwice) >= 0) &&
               swr_init(resampler_) >= 0;
    }

    Coding coding_; // of AAC: as it is framed now
    SoundSink& sink_;
    SoundFormat format_;
    double faster_ = 0;
    AvPtr<AVCodecContext> context_;
    AvPtr<AVCodecParserContext> parser_;
    AvPtr<AVPacket> packet_;
    AvPtr<AVFrame> frame_;
    SwrContext* resampler_ = nullptr;
    Source source_;
    bool dualMono_ = false; // the frame under way
    std::vector<float> mixed_;
    SoundLimiter limiter_;
    std::vector<std::int16_t> sound_;
};

} // namespace

std::unique_ptr<AudioDecoder> MakeAudioDecoder(Coding coding, SoundSink& sink) {
    auto decoder = std::make_unique<AvAudioDecoder>(coding, sink);
    return decoder->Open() ? std::move(decoder) : nullptr;
}

} // namespace vistrame
