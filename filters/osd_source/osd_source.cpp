#include "filters/osd_source/osd_source.h"

#include <chrono>
#include <cstring>

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
        return {.cBuffers = 1, .cbBuffer = picture ? picture->Bytes() : 0, .cbAlign = 1, .cbPrefix = 0};
    }

private:
    OsdSource& owner_;
};

OsdSource::OsdSource() : WithInterfaces(CLSID_OsdSource), pin_(AddPin(std::make_unique<PicturePin>(*this))) {}

HRESULT OsdSource::SetSize(ULONG width, ULONG height, ULONG visible) {
    if (width == 0 || height == 0 || width > kLargest || height > kLargest) {
        return E_INVALIDARG;
    }
    const std::lock_guard lock(lock_);
    content_.width = static_cast<int>(width);
    content_.height = static_cast<int>(height);
    content_.visible = visible != 0;
    ++version_;
    changed_.notify_all();
    return S_OK;
}

HRESULT OsdSource::SetText(const char* text) {
    if (text == nullptr) {
        return E_POINTER;
    }
    const std::lock_guard lock(lock_);
    if (content_.text != text) {
        content_.text = text;
        ++version_;
        changed_.notify_all();
    }
    return S_OK;
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
    worker_ = std::thread([this] { Work(); });
}

void OsdSource::BeginStop() {
    const std::lock_guard lock(lock_);
    running_ = false;
    changed_.notify_all();
}

void OsdSource::JoinWorker() {
    if (worker_.joinable()) {
        worker_.join();
    }
}

void OsdSource::Work() {
    bool painted = false;
    unsigned paintedVersion = 0;
    std::unique_lock lock(lock_);
    while (running_) {
        if (!painted || paintedVersion != version_) {
            painted = true;
            paintedVersion = version_;
            const Content content = content_;
            lock.unlock();
            Paint(content);
        } else {
            lock.unlock();
        }
        Deliver();
        lock.lock();
        changed_.wait_for(lock, std::chrono::milliseconds(kRepeat),
                          [&] { return !running_ || paintedVersion != version_; });
    }
}

void OsdSource::Paint(const Content& content) {
    auto agreed = ReadPictureType(pin_.Type(), kLayouts);
    if (agreed && (agreed->width != content.width || agreed->height != content.height)) {
        const MediaType wanted =
            TypeOf(*agreed->layout, pin_.Type()->formattype, content.width, content.height);
        if (SUCCEEDED(pin_.ChangeType(wanted, ReadPictureType(wanted, kLayouts)->Bytes()))) {
            agreed = ReadPictureType(wanted, kLayouts);
        }
    }
    if (!agreed) {
        return; // disconnected meanwhile
    }
    if (canvas_ == nullptr || canvas_->width() != agreed->width || canvas_->height() != agreed->height) {
        canvas_ = std::make_unique<OsdCanvasArgb32>();
        if (!canvas_->create(agreed->width, agreed->height)) {
            canvas_.reset();
            return;
        }
    }
    textPicture_.Draw(content.visible ? std::string_view(content.text) : std::string_view(), canvas_.get());
}

void OsdSource::Deliver() {
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    if (canvas_ == nullptr || FAILED(pin_.GetBuffer(&sample)) || FAILED(sample->GetPointer(&buffer)) ||
        static_cast<std::size_t>(sample->GetSize()) < canvas_->bufferSize()) {
        return; // stopping
    }
    const std::size_t stride = static_cast<std::size_t>(canvas_->width()) * 4;
    for (int y = 0; y < canvas_->height(); ++y) { // the buffer is bottom-up
        std::memcpy(buffer + stride * static_cast<std::size_t>(canvas_->height() - 1 - y),
                    canvas_->pixelsPtr() + stride * static_cast<std::size_t>(y), stride);
    }
    // Setters of a sample that is ours alone: nothing can go wrong, and nothing could be done.
    (void)sample->SetActualDataLength(static_cast<long>(canvas_->bufferSize()));
    (void)sample->SetTime(nullptr, nullptr);
    (void)sample->SetSyncPoint(TRUE);
    (void)pin_.Deliver(sample.Get()); // refused: the next one follows anyway
}

} // namespace vistrame
