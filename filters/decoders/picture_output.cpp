#include "filters/decoders/picture_output.h"

#include <mutex>
#include <utility>

#include "filters/base/reference_time.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {

namespace {

// From here on a picture is not worth the renderer's time, and the decoder leaves out what nothing depends
// on.
constexpr REFERENCE_TIME kLate = 150 * kUnitsPerMillisecond;
constexpr REFERENCE_TIME kVeryLate = kUnitsPerSecond;
constexpr REFERENCE_TIME kInTime = 40 * kUnitsPerMillisecond;
// Even then something moves on the screen this often.
constexpr REFERENCE_TIME kLongestFreeze = 250 * kUnitsPerMillisecond;
// A picture that belongs so much before the one ahead of it shows that the time of that was damaged.
constexpr REFERENCE_TIME kFarBefore = 300 * kUnitsPerMillisecond;

} // namespace

PictureOutput::PictureOutput(BaseFilter& filter, OutputPin& pin)
    : filter_(filter),
      pin_(pin),
      deinterlacer_([this](const Picture& picture) { HandOver(picture); }),
      buffers_(pin),
      queue_(kBuffers, kBuffers) {}

std::vector<MediaType> PictureOutput::OfferedTypes(Size size) {
    std::vector<MediaType> types;
    for (const GUID& format : {FORMAT_VideoInfo2, FORMAT_VideoInfo}) {
        for (const SampleLayout& layout : PixelLayouts()) {
            types.push_back(
                MakePictureType(layout, size.width, size.height, Aspect{}, Picture{}.duration, format));
        }
    }
    return types;
}

void PictureOutput::Connected(const MediaType& type) {
    if (!buffers_.Connected(type)) {
        return; // refused by the pin before it comes here
    }
    const PictureType& target = buffers_.Target();
    formatType_ = type->formattype;
    connected_ = {target.width, target.height, target.aspect, {}};
    agreedFor_.reset();
    warm_ = false;
    fit_ = PictureWriter::Fit::kLetterbox;
}

void PictureOutput::Start() {
    deinterlacer_.Reset();
    fieldRate_.Restart();
    discontinuity_ = true;
    started_ = true;
    skip_ = VideoSkip::kNothing;
    lastShown_ = -kUnitsPerSecond;
    lastHanded_.reset();
    queue_.Start([this](ComPtr<IMediaSample>& sample) { (void)pin_.Deliver(sample.Get()); },
                 [this] { return ShowHeld(); });
}

void PictureOutput::WarmUp() {
    ShowStill();
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    if (warm_ || !pin_.IsConnected() || !buffers_.Take(&sample, &buffer, AM_GBF_NOWAIT) ||
        !PictureWriter::FillBlack(buffers_.Target(), buffer, sample->GetSize())) {
        return;
    }
    warm_ = true;
    (void)sample->SetActualDataLength(buffers_.Target().Bytes());
    (void)sample->SetTime(nullptr, nullptr);
    (void)queue_.TryPush(std::move(sample), 1); // refused when stopping
}

void PictureOutput::ShowStill() {
    if (const std::optional<Picture>& still = still_.Get(); still && pin_.IsConnected()) {
        deinterlacer_.PushAlone(*still);
        still_.Clear();
    }
}

void PictureOutput::Stop() {
    started_ = false;
    queue_.Stop();
}

void PictureOutput::Drain() {
    deinterlacer_.Drain();
    queue_.WaitIdle();
}

void PictureOutput::Flush() {
    queue_.Clear();
    queue_.WaitIdle();
    deinterlacer_.Reset();
    fieldRate_.Restart();
    lastHanded_.reset();
    discontinuity_ = true;
}

void PictureOutput::OnPicture(const Picture& picture) {
    if (!started_) {
        KeepStill(picture);
        return;
    }
    if (!pin_.IsConnected() || IsTooLate(picture)) {
        return;
    }
    if (!picture.start || skip_ != VideoSkip::kNothing) {
        // Nobody waits for the next one: this one is shown at once, or pictures are being left out.
        deinterlacer_.PushAlone(picture);
    } else {
        deinterlacer_.Push(picture,
                           fieldRate_.Fields() ? Deinterlacer::Rate::kFields : Deinterlacer::Rate::kPictures);
    }
}

// The queue's worker: no picture has come for a while, as with stills. False: somebody brings one now.
bool PictureOutput::ShowHeld() {
    const std::unique_lock streaming(filter_.StreamLock(), std::try_to_lock);
    if (streaming.owns_lock()) {
        deinterlacer_.Drain();
    }
    return streaming.owns_lock();
}

void PictureOutput::HandOver(const Picture& picture) {
    REFERENCE_TIME now = 0;
    if (picture.start && filter_.StreamTime(&now)) {
        const bool fields = fieldRate_.Fields();
        fieldRate_.Handed(*picture.start, now);
        if (fields != fieldRate_.Fields()) {
            Trace(filter_, ": interlaced pictures at ", fields ? "picture" : "field", " rate from here on");
        }
    }
    Show(picture);
}

void PictureOutput::KeepStill(const Picture& picture) {
    if (!still_.Get()) {
        still_.Store(picture);
    }
}

void PictureOutput::Show(const Picture& decoded) {
    const Picture& picture = mapper_.Map(decoded);
    DropWhatWaits(picture.start);
    Agree(picture);
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    if (!buffers_.Take(&sample, &buffer) ||
        !writer_.Write(picture, buffers_.Target(), fit_, buffer, sample->GetSize())) {
        return;
    }
    warm_ = true;
    REFERENCE_TIME start = picture.start.value_or(0);
    REFERENCE_TIME stop = start + picture.duration;
    // Setters of a sample that is ours alone: nothing can go wrong, and nothing could be done.
    (void)sample->SetActualDataLength(buffers_.Target().Bytes());
    (void)sample->SetTime(picture.start ? &start : nullptr, picture.start ? &stop : nullptr);
    (void)sample->SetSyncPoint(TRUE);
    (void)sample->SetDiscontinuity(std::exchange(discontinuity_, false) ? TRUE : FALSE);
    (void)sample->SetPreroll(FALSE);
    if (!picture.start) {
        // Some renderers (VMR9 under Wine) show a picture only when the next one comes; nobody waits for that
        // with the first one of all.
        (void)queue_.TryPush(ComPtr<IMediaSample>(sample), 1);
    }
    (void)queue_.TryPush(std::move(sample), 1); // refused when stopping
}

// The renderer would let a picture of a damaged time stand until then, and all the others behind it.
void PictureOutput::DropWhatWaits(std::optional<REFERENCE_TIME> start) {
    REFERENCE_TIME now = 0;
    const bool waits = start && lastHanded_ && *lastHanded_ - *start > kFarBefore &&
                       filter_.StreamTime(&now) && *lastHanded_ - now > kFarBefore;
    lastHanded_ = start ? start : lastHanded_;
    if (!waits) {
        return;
    }
    Trace(filter_, ": a picture was far ahead of its time; what waits is dropped");
    (void)pin_.DeliverBeginFlush(); // frees the worker; a renderer that cannot shows it at that time
    queue_.Clear();
    queue_.WaitIdle();
    (void)pin_.DeliverEndFlush();
    discontinuity_ = true;
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
    const Shape shape{picture.width, picture.height, picture.aspect, picture.colours};
    if (agreedFor_ == shape) {
        return;
    }
    queue_.WaitIdle();  // the renderer must have what is laid out the old way, and all buffers be back
    agreedFor_.reset(); // in case there is no memory for it now
    const auto agree = [&](const Shape& size, auto ask) {
        const auto typeWith = [&](Colours colours) {
            return MakePictureType(*buffers_.Target().layout, size.width, size.height, picture.aspect,
                                   picture.duration, formatType_, colours);
        };
        const MediaType plain = typeWith({});
        // As it is written: in video range, and RGB is converted.
        Colours written{.matrix = picture.colours.matrix, .primaries = picture.colours.primaries};
        const int usual = PictureWriter::UsualMatrix(picture.width, picture.height);
        if (written.matrix == AVCOL_SPC_UNSPECIFIED &&
            usual != PictureWriter::UsualMatrix(size.width, size.height)) {
            written.matrix = usual;
        }
        const MediaType coloured = typeWith(written);
        return (buffers_.*ask)(coloured) || (!(coloured == plain) && (buffers_.*ask)(plain));
    };
    const bool sameSize = connected_.width == shape.width && connected_.height == shape.height;
    if (!sameSize && agree(shape, &RendererBuffers::Reconnect)) {
        connected_ = shape;
        fit_ = PictureWriter::Fit::kFill;
    } else {
        fit_ = agree(connected_, &RendererBuffers::ChangeType) ? PictureWriter::Fit::kFill
                                                               : PictureWriter::Fit::kLetterbox;
    }
    agreedFor_ = shape;
}

} // namespace vistrame
