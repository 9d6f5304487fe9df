#include "filters/decoders/video_decoder_filter.h"

#include "filters/base/guarded.h"
#include "filters/decoders/first_size.h"
#include "filters/decoders/stream_types.h"

namespace vistrame {

VideoDecoderFilter::VideoDecoderFilter()
    : WithInterfaces(CLSID_VistrameVideoDecoder, L"In", L"Out"), pictures_(*this, Output()) {}

HRESULT VideoDecoderFilter::CheckInputType(const MediaType& type) {
    return VideoCodingOf(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

std::vector<MediaType> VideoDecoderFilter::InputTypes() {
    std::vector<MediaType> types;
    for (const REGPINTYPES& type : VideoStreamTypes()) {
        types.emplace_back(*type.clsMajorType, *type.clsMinorType);
    }
    return types;
}

void VideoDecoderFilter::OutputConnecting(IPin& peer) {
    firstSize_ = FirstSize(peer, coding_);
    Trace(*this, ": to be connected as ", firstSize_.width, " x ", firstSize_.height);
}

HRESULT VideoDecoderFilter::CheckOutputType(const MediaType& type) {
    return ReadPictureType(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
}

ALLOCATOR_PROPERTIES VideoDecoderFilter::NeededBuffers(const MediaType& outputType) {
    const auto picture = ReadPictureType(outputType);
    return {PictureOutput::kBuffers, picture ? picture->Bytes() : 0, 1, 0};
}

// At connecting, or in mid-stream under the stream lock.
void VideoDecoderFilter::InputTypeAgreed(const MediaType& type) {
    const Coding coding = VideoCodingOf(type).value_or(Coding::kOther);
    if (coding != coding_) {
        decoder_ = MakeVideoDecoder(coding, pictures_);
        coding_ = coding;
        Trace(*this, ": decodes ", CodingName(coding), decoder_ == nullptr ? ", which it cannot" : "");
    }
}

void VideoDecoderFilter::OutputTypeAgreed(const MediaType& type) {
    if (State() == State_Stopped) { // later changes are of pictures_' own making
        pictures_.Connected(type);
    }
}

HRESULT VideoDecoderFilter::ShowStill(const BYTE* data, ULONG first, ULONG bytes) {
    if (data == nullptr || first > bytes) {
        return E_INVALIDARG;
    }
    return Guarded([&] {
        const std::lock_guard lock(FilterLock());
        if (State() != State_Stopped) {
            return VFW_E_NOT_STOPPED;
        }
        if (decoder_ == nullptr) {
            return VFW_E_NOT_CONNECTED;
        }
        pictures_.DropStill();
        decoder_->SetSkip(VideoSkip::kNothing);
        return decoder_->DecodeAlone({data, first}) || decoder_->DecodeAlone({data, bytes}) ? S_OK : S_FALSE;
    });
}

HRESULT VideoDecoderFilter::Starting() {
    begun_ = std::chrono::steady_clock::now();
    pictures_.Start();
    return S_OK;
}

void VideoDecoderFilter::Running(REFERENCE_TIME /*start*/) {
    begun_ = std::chrono::steady_clock::now();
    firstDue_ = true;
    BringFirst();
}

// The stream lock is not to be waited for: a picture may hold it until the renderer runs. Whoever has it
// either brings a picture, and the still before it, or passes on the segment and comes here behind it.
void VideoDecoderFilter::BringFirst() {
    while (firstDue_) {
        const std::unique_lock streaming(StreamLock(), std::try_to_lock);
        if (!streaming.owns_lock()) {
            return;
        }
        if (firstDue_.exchange(false)) {
            (void)Guarded([&] { // without memory the first picture takes longer, no more
                pictures_.WarmUp();
                return S_OK;
            });
        }
    }
}

void VideoDecoderFilter::Stopped() {
    firstDue_ = false;
    pictures_.Stop();
    if (decoder_ != nullptr) {
        decoder_->Flush();
    }
}

HRESULT VideoDecoderFilter::Transform(IMediaSample* sample) {
    BYTE* data = nullptr;
    if (decoder_ == nullptr || FAILED(sample->GetPointer(&data)) || data == nullptr) {
        return S_OK;
    }
    if (sample->IsDiscontinuity() == S_OK) {
        decoder_->Gap();
        pictures_.MarkDiscontinuity();
    }
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    const auto time = SUCCEEDED(sample->GetTime(&start, &stop)) ? std::optional(start) : std::nullopt;
    if (State() == State_Running && std::chrono::steady_clock::now() - begun_.load() >= kPatience) {
        decoder_->ShowAnything();
    }
    pictures_.ShowStill();
    decoder_->SetSkip(pictures_.WantedSkip(time));
    decoder_->Decode({data, static_cast<std::size_t>(sample->GetActualDataLength())}, time);
    return S_OK;
}

void VideoDecoderFilter::Drain() {
    if (decoder_ != nullptr) {
        decoder_->Drain();
    }
    pictures_.Drain();
}

void VideoDecoderFilter::FlushDone() {
    if (decoder_ != nullptr) {
        decoder_->Flush();
    }
    pictures_.Flush();
    begun_ = std::chrono::steady_clock::now();
}

} // namespace vistrame
