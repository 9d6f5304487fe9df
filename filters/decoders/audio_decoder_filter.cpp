#include "filters/decoders/audio_decoder_filter.h"

#include <algorithm>

#include <mmreg.h>

#include "filters/base/reference_clock.h"
#include "filters/base/reference_time.h"
#include "filters/decoders/stream_types.h"

namespace vistrame {

namespace {

constexpr int kBufferMilliseconds = 100; // several frames of any coding
constexpr int kBuffers = 8;
constexpr int kSampleBytes = 2;

WAVEFORMATEX WaveFormatOf(SoundFormat format) {
    WAVEFORMATEX wave{};
    wave.wFormatTag = WAVE_FORMAT_PCM;
    wave.nChannels = static_cast<WORD>(format.channels);
    wave.nSamplesPerSec = static_cast<DWORD>(format.rate);
    wave.wBitsPerSample = kSampleBytes * 8;
    wave.nBlockAlign = static_cast<WORD>(format.channels * kSampleBytes);
    wave.nAvgBytesPerSec = wave.nSamplesPerSec * wave.nBlockAlign;
    return wave;
}

std::optional<SoundFormat> SoundFormatOf(const MediaType& type) {
    const auto* wave = type.FormatAs<WAVEFORMATEX>(FORMAT_WaveFormatEx);
    if (type->majortype != MEDIATYPE_Audio || type->subtype != MEDIASUBTYPE_PCM || wave == nullptr ||
        wave->wFormatTag != WAVE_FORMAT_PCM || wave->wBitsPerSample != kSampleBytes * 8 ||
        wave->nChannels < 1 || wave->nChannels > 2 || wave->nSamplesPerSec < 8'000 ||
        wave->nSamplesPerSec > 192'000) {
        return std::nullopt;
    }
    return SoundFormat{static_cast<int>(wave->nSamplesPerSec), wave->nChannels};
}

} // namespace

AudioDecoderFilter::AudioDecoderFilter() : TransformFilter(CLSID_VistrameAudioDecoder, L"In", L"Out") {}

HRESULT AudioDecoderFilter::CheckInputType(const MediaType& type) {
    return AudioCodingOf(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

std::vector<MediaType> AudioDecoderFilter::InputTypes() {
    std::vector<MediaType> types;
    for (const REGPINTYPES& type : AudioStreamTypes()) {
        types.emplace_back(*type.clsMajorType, *type.clsMinorType);
    }
    return types;
}

std::vector<MediaType> AudioDecoderFilter::OutputTypes() {
    std::vector<MediaType> types;
    for (const SoundFormat format : {SoundFormat{48'000, 2}, SoundFormat{44'100, 2}}) {
        MediaType& type = types.emplace_back(MEDIATYPE_Audio, MEDIASUBTYPE_PCM);
        type.Fields().bFixedSizeSamples = TRUE;
        type.Fields().lSampleSize = WaveFormatOf(format).nBlockAlign;
        type.SetFormat(FORMAT_WaveFormatEx, WaveFormatOf(format));
    }
    return types;
}

HRESULT AudioDecoderFilter::CheckOutputType(const MediaType& type) {
    return SoundFormatOf(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

ALLOCATOR_PROPERTIES AudioDecoderFilter::NeededBuffers(const MediaType& outputType) {
    const SoundFormat format = SoundFormatOf(outputType).value_or(SoundFormat{});
    const long samples = format.rate * kBufferMilliseconds / 1000;
    return {kBuffers, samples * format.channels * kSampleBytes, 1, 0};
}

// At connecting, or in mid-stream under the stream lock.
void AudioDecoderFilter::InputTypeAgreed(const MediaType& type) {
    const Coding coding = AudioCodingOf(type).value_or(Coding::kOther);
    if (coding != coding_) {
        decoder_ = MakeAudioDecoder(coding, *this);
        coding_ = coding;
        Trace(*this, ": decodes ", CodingName(coding), decoder_ == nullptr ? ", which it cannot" : "");
    }
    if (decoder_ != nullptr) {
        decoder_->SetFormat(format_);
    }
}

void AudioDecoderFilter::OutputTypeAgreed(const MediaType& type) {
    format_ = SoundFormatOf(type).value_or(format_);
    if (decoder_ != nullptr) {
        decoder_->SetFormat(format_);
    }
}

HRESULT AudioDecoderFilter::Starting() {
    Restart();
    return S_OK;
}

void AudioDecoderFilter::Running(REFERENCE_TIME /*start*/) {
    resumed_ = true;
}

void AudioDecoderFilter::FlushDone() {
    Restart();
}

void AudioDecoderFilter::Restart() {
    if (decoder_ != nullptr) {
        decoder_->Flush();
    }
    placement_.Restart();
    follower_.Restart();
    discontinuity_ = true;
}

HRESULT AudioDecoderFilter::Transform(IMediaSample* sample) {
    BYTE* data = nullptr;
    if (decoder_ == nullptr || FAILED(sample->GetPointer(&data)) || data == nullptr) {
        return S_OK;
    }
    if (sample->IsDiscontinuity() == S_OK) {
        decoder_->Flush();
        discontinuity_ = true;
    }
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    const bool timed = SUCCEEDED(sample->GetTime(&start, &stop));
    decoder_->Decode({data, static_cast<std::size_t>(sample->GetActualDataLength())},
                     timed ? std::optional<std::int64_t>(start) : std::nullopt);
    return S_OK;
}

void AudioDecoderFilter::OnSound(std::span<const std::int16_t> samples, std::optional<std::int64_t> time) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    const auto count = static_cast<std::int64_t>(samples.size() / channels);
    if (resumed_.exchange(false)) {
        placement_.Resume();
        clocksApart_.reset();
        deviceAhead_ = 0;
        clockIsDevice_ = ClockIsTheRenderers();
    }
    REFERENCE_TIME streamTime = 0;
    auto now = StreamTime(&streamTime) ? std::optional(streamTime) : std::nullopt;
    const REFERENCE_TIME ahead = DeviceAhead(now);
    if (time) {
        *time += ahead;
    }
    if (now) {
        *now += ahead;
    }
    const SoundPlacement::Placement place = placement_.Place(count, format_.rate, time, now);
    if (time) {
        // Behind is what lies later than its time says.
        decoder_->SetSpeed(follower_.Update(-place.off, count * kUnitsPerSecond / format_.rate));
    }
    leftOut_ += place.skipped;
    if (place.skipped == count) {
        return;
    }
    if (kTraceOn && (leftOut_ > 0 || place.silence > 0 || place.discontinuity)) {
        Trace(*this, ": sound at ", MillisecondsFromReference(place.start), " ms; frames left out ", leftOut_,
              ", silent ", place.silence, place.discontinuity ? "; discontinuity" : "",
              place.flush ? ", renderer flushed" : "");
    }
    leftOut_ = 0;
    if (place.flush) {
        (void)Output().DeliverBeginFlush(); // a renderer that cannot is late at worst
        (void)Output().DeliverEndFlush();
    }
    discontinuity_ |= place.discontinuity;
    REFERENCE_TIME start = place.start - ahead;
    if (place.silence > 0) {
        const std::vector<std::int16_t> silence(static_cast<std::size_t>(place.silence) * channels);
        start = Deliver(silence, start);
    }
    const auto played = samples.subspan(static_cast<std::size_t>(place.skipped) * channels);
    (void)Deliver(played, start); // where it ends is not needed
}

// A graph's clock that follows the sender lets the stream time run off from the sound device, which runs as
// the system does. How far it has, unless the device itself is the clock.
REFERENCE_TIME AudioDecoderFilter::DeviceAhead(std::optional<REFERENCE_TIME> now) {
    constexpr REFERENCE_TIME kSmoothing = 64; // frames, a second or two: some clocks run in steps
    if (now && !clockIsDevice_) {
        const REFERENCE_TIME apart = SystemTime() - *now;
        clocksApart_ = clocksApart_.value_or(apart);
        deviceAhead_ += (apart - *clocksApart_ - deviceAhead_) / kSmoothing;
    }
    return deviceAhead_;
}

bool AudioDecoderFilter::ClockIsTheRenderers() const {
    const ComPtr<IPin> peer = Output().Peer();
    const ComPtr<IBaseFilter> filter = peer != nullptr ? FilterOf(*peer.Get()) : nullptr;
    ComPtr<IUnknown> renderer;
    ComPtr<IUnknown> owner;
    ComPtr<IBaseFilter> clock;
    if (filter != nullptr) {
        (void)filter.As(&renderer); // every object answers to this one
    }
    const ComPtr<IReferenceClock> graphs = Clock();
    // The pointers themselves: without Get() two that are set are always equal.
    return graphs != nullptr && SUCCEEDED(graphs.As(&clock)) && SUCCEEDED(clock.As(&owner)) &&
           owner.Get() == renderer.Get();
}

// In pieces that fit the buffers. When the last of it ends.
REFERENCE_TIME AudioDecoderFilter::Deliver(std::span<const std::int16_t> samples, REFERENCE_TIME start) {
    const auto channels = static_cast<std::size_t>(format_.channels);
    const std::size_t room =
        static_cast<std::size_t>(Output().BufferBytes()) / kSampleBytes / channels * channels;
    std::int64_t delivered = 0; // frames
    const auto end = [&] { return start + delivered * kUnitsPerSecond / format_.rate; };
    while (!samples.empty() && room > 0) {
        const auto part = samples.first(std::min(room, samples.size()));
        samples = samples.subspan(part.size());
        const REFERENCE_TIME begin = end();
        delivered += static_cast<std::int64_t>(part.size() / channels);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(part.data());
        const SampleAttributes attributes{
            .start = begin, .stop = end(), .syncPoint = true, .discontinuity = discontinuity_};
        // A renderer that refuses, or has no buffer because it stops or flushes, does not stop the stream.
        if (Output().Send({bytes, part.size_bytes()}, attributes) == S_OK) {
            discontinuity_ = false;
        }
    }
    return end();
}

} // namespace vistrame
