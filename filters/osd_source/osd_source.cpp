#include "filters/osd_source/osd_source.h"

#include <chrono>
#include <cstring>

#include "filters/base/guarded.h"
#include "filters/base/reference_time.h"
#include "filters/pictures/picture_types.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {

namespace {

constexpr ULONG kLargest = 8192;
const SampleLayout kLayouts[] = {
    {&MEDIASUBTYPE_ARGB32, BI_RGB, {AV_PIX_FMT_BGRA, 32, true, false}},
    {&MEDIASUBTYPE_RGB32, BI_RGB, {AV_PIX_FMT_BGR0, 32, true, false}},
};

MediaType TypeOf(const SampleLayout& layout, const GUID& header, int width, int height) {
    return MakePictureType(layout, width, height, Aspect::Reduced(width, height),
                           OsdSource::kRepeat * kUnitsPerMillisecond, header);
}

} // namespace

class OsdSource::PicturePin final : public OutputPin {
public:
    explicit PicturePin(OsdSource& owner) : OutputPin(owner, L"1"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override {
        return ReadPictureType(type, kLayouts) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    std::vector<MediaType> OfferedTypes() override {
        const Content content = owner_.Wanted();
        std::vector<MediaType> types;
        for (const SampleLayout& layout : kLayouts) {
            for (const GUID& header : {FORMAT_VideoInfo2, FORMAT_VideoInfo}) {
                types.push_back(TypeOf(layout, header, content.width, content.height));
            }
        }
        return types;
    }

    HRESULT Activate() override {
        const HRESULT result = OutputPin::Activate();
        if (SUCCEEDED(result) && IsConnected()) {
            owner_.StartWorker();
        }
        return result;
    }
    void Deactivate() override {
        owner_.BeginStop();
        OutputPin::Deactivate(); // frees the worker from waiting for a buffer
        owner_.JoinWorker();
    }

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override {
        const auto picture = ReadPictureType(Type(), kLayouts);
        return {
            .cBuffers = kBuffers, .cbBuffer = picture ? picture->Bytes() : 0, .cbAlign = 1, .cbPrefix = 0};
    }

private:
    OsdSource& owner_;
};

OsdSource::OsdSource()
    : WithInterfaces(CLSID_OsdSource),
      pin_(AddPin(std::make_unique<PicturePin>(*this))),
      buffers_(pin_, kLayouts) {}

HRESULT OsdSource::SetSize(ULONG width, ULONG height, ULONG visible) {
    if (width == 0 || height == 0 || width > kLargest || height > kLargest) {
        return E_INVALIDARG;
    }
    return Guarded([&] {
        const std::lock_guard lock(lock_);
        content_.width = static_cast<int>(width);
        content_.height = static_cast<int>(height);
        content_.visible = visible != 0;
        ++version_;
        changed_.notify_all();
        return S_OK;
    });
}

HRESULT OsdSource::SetText(const char* text) {
    if (text == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] {
        const std::lock_guard lock(lock_);
        if (content_.text != text) {
            content_.text = text;
            ++version_;
            changed_.notify_all();
        }
        return S_OK;
    });
}

OsdSource::Content OsdSource::Wanted() const {
    const std::lock_guard lock(lock_);
    return content_;
}

void OsdSource::StartWorker() {
    {
        const std::lock_guard lock(lock_);
        running_ = true;
    }
    (void)buffers_.Connected(pin_.Type()); // one of the layouts, or it would not be connected
    canvas_.reset();
    askedWidth_ = askedHeight_ = 0;
    worker_.Start([this] { Work(); });
}

void OsdSource::BeginStop() {
    const std::lock_guard lock(lock_);
    running_ = false;
    changed_.notify_all();
}

void OsdSource::JoinWorker() {
    worker_.Join();
}

void OsdSource::Work() {
    std::unique_lock lock(lock_);
    while (running_) {
        const unsigned version = version_;
        lock.unlock();
        (void)Guarded([&] { // without memory: again with the next repetition
            const Content content = Wanted();
            Agree(content);
            Deliver(content, version);
            return S_OK;
        });
        lock.lock();
        changed_.wait_for(lock, std::chrono::milliseconds(kRepeat),
                          [&] { return !running_ || version != version_; });
    }
}

// Asks the renderer for the wanted size, once for each.
void OsdSource::Agree(const Content& content) {
    const PictureType& target = buffers_.Target();
    if (content.width == askedWidth_ && content.height == askedHeight_) {
        return;
    }
    if (content.width != target.width || content.height != target.height) {
        (void)buffers_.Reconnect(
            TypeOf(*target.layout, pin_.Type()->formattype, content.width, content.height));
    }
    askedWidth_ = content.width; // not before: without memory for the question it comes again
    askedHeight_ = content.height;
}

// False without memory.
bool OsdSource::Paint(const Content& content, unsigned version) {
    const PictureType& target = buffers_.Target();
    const bool fits =
        canvas_ != nullptr && canvas_->width() == target.width && canvas_->height() == target.height;
    if (fits && paintedVersion_ == version) {
        return true;
    }
    if (!fits) {
        canvas_ = std::make_unique<OsdCanvasArgb32>();
        if (!canvas_->create(target.width, target.height)) {
            canvas_.reset();
            return false;
        }
    }
    textPicture_.Draw(content.visible ? std::string_view(content.text) : std::string_view(), canvas_.get());
    paintedVersion_ = version;
    return true;
}

void OsdSource::Deliver(const Content& content, unsigned version) {
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    if (!buffers_.Take(&sample, &buffer) || sample->GetSize() < buffers_.Target().Bytes() ||
        !Paint(content, version)) {
        return; // stopping, mostly
    }
    const PicturePlanes lines = buffers_.Target().PlanesIn(buffer);
    const std::size_t bytes = static_cast<std::size_t>(canvas_->width()) * 4;
    for (int y = 0; y < canvas_->height(); ++y) {
        std::memcpy(lines.data[0] + std::ptrdiff_t{lines.strides[0]} * y,
                    canvas_->pixelsPtr() + bytes * static_cast<std::size_t>(y), bytes);
    }
    // Setters of a sample that is ours alone: nothing can go wrong, and nothing could be done.
    (void)sample->SetActualDataLength(buffers_.Target().Bytes());
    (void)sample->SetTime(nullptr, nullptr);
    (void)sample->SetSyncPoint(TRUE);
    (void)pin_.Deliver(sample.Get()); // refused: the next one follows anyway
}

} // namespace vistrame
