#include "filters/decoders/picture_output.h"

#include <utility>

#include "filters/base/reference_time.h"

namespace vistrame {

namespace {

// From here on a picture is not worth the renderer's time, and the decoder leaves out what nothing depends on.
constexpr REFERENCE_TIME kLate = 150 * kUnitsPerMillisecond;
constexpr REFERENCE_TIME kVeryLate = kUnitsPerSecond;
constexpr REFERENCE_TIME kInTime = 40 * kUnitsPerMillisecond;
// Even then something moves on the screen this often.
constexpr REFERENCE_TIME kLongestFreeze = 250 * kUnitsPerMillisecond;

} // namespace

PictureOutput::PictureOutput(BaseFilter& filter, OutputPin& pin)
    : filter_(filter), pin_(pin), queue_(kBuffers, kBuffers) {}

std::vector<MediaType> PictureOutput::OfferedTypes() {
    std::vector<MediaType> types;
    for (const GUID& format : {FORMAT_VideoInfo2, FORMAT_VideoInfo}) {
        for (const SampleLayout& layout : PixelLayouts()) {
            types.push_back(
                MakePictureType(layout, kConnectWidth, kConnectHeight, Aspect{}, Picture{}.duration, format));
        }
    }
    return types;
}

void PictureOutput::Connected(const MediaType& type) {
    const auto read = ReadPictureType(type);
    if (!read) {
        return; // refused by the pin before it comes here
    }
    target_ = *read;
    formatType_ = type->formattype;
    connected_ = {read->width, read->height, read->aspect};
    agreedFor_.reset();
    warm_ = false;
    fit_ = PictureWriter::Fit::kLetterbox;
}

void PictureOutput::Start() {
    deinterlacer_.Reset();
    discontinuity_ = true;
    skip_ = VideoSkip::kNothing;
    lastShown_ = -kUnitsPerSecond;
    queue_.Start([this](ComPtr<IMediaSample>& sample) { (void)pin_.Deliver(sample.Get()); });
}

void PictureOutput::WarmUp() {
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    if (warm_ || !pin_.IsConnected() || !TakeBuffer(&sample, &buffer, AM_GBF_NOWAIT) ||
        !PictureWriter::FillBlack(target_, buffer, sample->GetSize())) {
        return;
    }
    (void)sample->SetActualDataLength(target_.Bytes());
    (void)sample->SetTime(nullptr, nullptr);
    (void)queue_.TryPush(std::move(sample), 1); // refused when stopping
}

void PictureOutput::Stop() {
    queue_.Stop();
}

void PictureOutput::Flush() {
    queue_.Clear();
    queue_.WaitIdle();
    deinterlacer_.Reset();
    discontinuity_ = true;
}

void PictureOutput::OnPicture(const Picture& picture) {
    if (!pin_.IsConnected() || IsTooLate(picture)) {
        return;
    }
    Show(deinterlacer_.Process(picture));
    if (!picture.start) {
        deinterlacer_.Reset(); // the same picture comes again, and nothing in it will have moved
    }
}

void PictureOutput::Show(const Picture& picture) {
    Agree(picture);
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    if (!TakeBuffer(&sample, &buffer, 0) ||
        !writer_.Write(picture, target_, fit_, buffer, sample->GetSize())) {
        return;
    }
    REFERENCE_TIME start = picture.start.value_or(0);
    REFERENCE_TIME stop = start + picture.duration;
    // Setters of a sample that is ours alone: nothing can go wrong, and nothing could be done.
    (void)sample->SetActualDataLength(target_.Bytes());
    (void)sample->SetTime(picture.start ? &start : nullptr, picture.start ? &stop : nullptr);
    (void)sample->SetSyncPoint(TRUE);
    (void)sample->SetDiscontinuity(std::exchange(discontinuity_, false) ? TRUE : FALSE);
    (void)sample->SetPreroll(FALSE);
    if (!picture.start) {
        // Some renderers (VMR9 under Wine) show a picture only when the next one comes; nobody waits for that with the
        // first one of all.
        (void)queue_.TryPush(ComPtr<IMediaSample>(sample), 1);
    }
    (void)queue_.TryPush(std::move(sample), 1); // refused when stopping
}

// A buffer to fill as target_ then says: the renderer may have put a layout of its own on it. False when stopping.
bool PictureOutput::TakeBuffer(ComPtr<IMediaSample>* sample, BYTE** buffer, DWORD flags) {
    if (FAILED(pin_.GetBuffer(sample, flags))) {
        return false;
    }
    warm_ = true;
    AM_MEDIA_TYPE* type = nullptr;
    if ((*sample)->GetMediaType(&type) == S_OK && type != nullptr) {
        target_ = ReadPictureType(MediaType(*type)).value_or(target_);
        MediaType::FreeTaskCopy(type);
    }
    return SUCCEEDED((*sample)->GetPointer(buffer));
}

VideoSkip PictureOutput::WantedSkip(std::optional<REFERENCE_TIME> data) {
    REFERENCE_TIME now = 0;
    if (skip_ != VideoSkip::kNothing && data && filter_.StreamTime(&now) && now - *data < kInTime) {
        skip_ = VideoSkip::kNothing;
    }
    return skip_;
}

bool PictureOutput::IsTooLate(const Picture& picture) {
    REFERENCE_TIME now = 0;
    if (!picture.start || !filter_.StreamTime(&now)) {
        return false;
    }
    const REFERENCE_TIME late = now - *picture.start;
    if (late > kVeryLate) {
        skip_ = VideoSkip::kAllButKeys;
    } else if (late > kLate) {
        skip_ = std::max(skip_, VideoSkip::kUnreferenced);
    } else {
        skip_ = late < kInTime ? VideoSkip::kNothing : std::min(skip_, VideoSkip::kUnreferenced);
    }
    if (late > kLate && now - lastShown_ < kLongestFreeze && now >= lastShown_) {
        discontinuity_ = true;
        return true;
    }
    lastShown_ = now;
    return false;
}

void PictureOutput::Agree(const Picture& picture) {
    const Shape shape{picture.width, picture.height, picture.aspect};
    if (agreedFor_ == shape) {
        return;
    }
    queue_.WaitIdle(); // the renderer must have what is laid out the old way, and all buffers be back
    agreedFor_ = shape;
    const auto typeOf = [&](int width, int height) {
        return MakePictureType(*target_.layout, width, height, picture.aspect, picture.duration, formatType_);
    };
    const bool sameSize = connected_.width == shape.width && connected_.height == shape.height;
    if (!sameSize && TryReconnect(typeOf(shape.width, shape.height), shape)) {
        return;
    }
    fit_ = TryType(typeOf(connected_.width, connected_.height)) ? PictureWriter::Fit::kFill
                                                                : PictureWriter::Fit::kLetterbox;
}

bool PictureOutput::TryType(const MediaType& type) {
    const auto read = ReadPictureType(type);
    if (!read || FAILED(pin_.ChangeType(type, read->Bytes()))) {
        return false;
    }
    target_ = *read;
    return true;
}

bool PictureOutput::TryReconnect(const MediaType& type, const Shape& shape) {
    const ComPtr<IPin> renderer = pin_.Peer();
    if (renderer == nullptr || FAILED(renderer->ReceiveConnection(&pin_, &type.Get())) || !TryType(type)) {
        return false;
    }
    connected_ = shape;
    fit_ = PictureWriter::Fit::kFill;
    return true;
}

} // namespace vistrame
