#include "tests/filters/decoders/picture_sink.h"

#include <cstdlib>
#include <utility>

#include <dvdmedia.h>

namespace vistrame::test {

namespace {

constexpr CLSID kPictureSink = {0x0a51e0c1, 0x77b2, 0x4c0e, {0x90, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x02}};

} // namespace

bool IsNear(Rgb a, Rgb b, int tolerance) {
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.b - b.b) <= tolerance;
}

Rgb PictureView::At(int x, int y) const {
    const std::uint8_t* pixel =
        data + (static_cast<std::ptrdiff_t>(bottomUp ? height - 1 - y : y) * stride + x) * 4;
    return {pixel[2], pixel[1], pixel[0]};
}

int PictureView::BarEdge(int y) const {
    for (int x = 0; x < width; ++x) {
        const Rgb pixel = At(x, y);
        if (pixel.r > 150 && pixel.g > 150 && pixel.b > 150) {
            return x;
        }
    }
    return -1;
}

int PictureView::CombedLines() const {
    int combed = 0;
    for (int y = height * 13 / 16; y < height * 15 / 16; ++y) {
        const int own = BarEdge(y);
        combed += std::abs(own - BarEdge(y - 1)) > 3 && std::abs(own - BarEdge(y + 1)) > 3 ? 1 : 0;
    }
    return combed;
}

bool PictureView::HasColumns() const {
    for (int i = 0; i < 3; ++i) {
        if (!IsNear(At(width * (2 * i + 1) / 6, height / 2), kColumns[static_cast<std::size_t>(i)])) {
            return false;
        }
    }
    return true;
}

namespace {

// Puts on its buffers how the lines are to be laid out, until the pin has a type that says so: like a renderer with
// surfaces.
class PaddingAllocator final : public WithInterfaces<ComObject, IMemAllocator> {
public:
    PaddingAllocator(ComPtr<IMemAllocator> inner, InputPin& pin, int padding)
        : inner_(std::move(inner)), pin_(pin), padding_(padding) {}

    HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* wanted,
                                            ALLOCATOR_PROPERTIES* actual) override {
        ALLOCATOR_PROPERTIES larger = *wanted;
        larger.cbBuffer *= 2;
        return inner_->SetProperties(&larger, actual);
    }
    HRESULT STDMETHODCALLTYPE GetProperties(ALLOCATOR_PROPERTIES* now) override {
        return inner_->GetProperties(now);
    }
    HRESULT STDMETHODCALLTYPE Commit() override { return inner_->Commit(); }
    HRESULT STDMETHODCALLTYPE Decommit() override { return inner_->Decommit(); }
    HRESULT STDMETHODCALLTYPE GetBuffer(IMediaSample** sample, REFERENCE_TIME*, REFERENCE_TIME*,
                                        DWORD) override {
        const HRESULT result = inner_->GetBuffer(sample, nullptr, nullptr, 0);
        MediaType type(pin_.Type());
        auto format = *type.FormatAs<VIDEOINFOHEADER2>(FORMAT_VideoInfo2);
        if (SUCCEEDED(result) && format.bmiHeader.biWidth == format.rcTarget.right) {
            format.bmiHeader.biWidth += padding_;
            type.SetFormat(FORMAT_VideoInfo2, format);
            EXPECT_EQ((*sample)->SetMediaType(&type.Fields()), S_OK);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(IMediaSample* sample) override {
        return inner_->ReleaseBuffer(sample);
    }

private:
    ~PaddingAllocator() override = default;

    ComPtr<IMemAllocator> inner_;
    InputPin& pin_;
    const int padding_;
};

} // namespace

class PictureSinkFilter::Pin final : public InputPin {
public:
    explicit Pin(PictureSinkFilter& owner) : InputPin(owner, L"In"), owner_(owner) {}

    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override {
        ComPtr<IMemAllocator> inner;
        const HRESULT result = InputPin::GetAllocator(&inner);
        if (SUCCEEDED(result) && owner_.padding != 0) {
            *allocator = MakeObject<PaddingAllocator>(inner, *this, owner_.padding).Detach();
            return S_OK;
        }
        *allocator = inner.Detach();
        return result;
    }

    HRESULT CheckMediaType(const MediaType& type) override {
        const auto picture = ReadPictureType(type);
        if (!picture || type->subtype != MEDIASUBTYPE_RGB32 || type->formattype != FORMAT_VideoInfo2) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        const auto now = IsConnected() ? ReadPictureType(Type()) : std::nullopt;
        return !now || owner_.acceptsAspect || now->aspect == picture->aspect ? S_OK
                                                                              : VFW_E_TYPE_NOT_ACCEPTED;
    }

protected:
    bool AcceptsTypeChange() const override { return owner_.reconnects; }

    HRESULT OnReceive(IMediaSample* sample) override {
        const auto type = ReadPictureType(Type());
        BYTE* data = nullptr;
        EXPECT_HRESULT_SUCCEEDED(sample->GetPointer(&data));
        EXPECT_TRUE(type.has_value());
        if (!type || data == nullptr) {
            return E_UNEXPECTED;
        }
        EXPECT_EQ(sample->GetActualDataLength(), type->Bytes());
        EXPECT_EQ(type->stride - type->width, owner_.padding);
        const PictureView view{data, type->width, type->height, type->stride, !type->topDown};
        SeenPicture seen;
        REFERENCE_TIME start = 0;
        if (SUCCEEDED(sample->GetTime(&start, &seen.stop))) {
            seen.start = start;
        }
        seen.discontinuity = sample->IsDiscontinuity() == S_OK;
        seen.width = type->width;
        seen.height = type->height;
        seen.aspect = type->aspect;
        seen.columns = view.HasColumns();
        seen.bar = view.BarEdge(view.height * 7 / 8);
        seen.combed = view.CombedLines();
        seen.top = view.At(view.width / 2, 1);
        seen.left = view.At(1, view.height / 2);
        const std::lock_guard lock(owner_.lock_);
        owner_.seen_.push_back(seen);
        return S_OK;
    }

private:
    PictureSinkFilter& owner_;
};

PictureSinkFilter::PictureSinkFilter()
    : BaseFilter(kPictureSink), pin_(&AddPin(std::make_unique<Pin>(*this))) {}

std::vector<SeenPicture> PictureSinkFilter::Seen() const {
    const std::lock_guard lock(lock_);
    return seen_;
}

void PictureSinkFilter::AwaitWarmUp() {
    EXPECT_TRUE(WaitUntil([this] { return Count() > 0; }));
    const std::lock_guard lock(lock_);
    EXPECT_EQ(seen_.size(), 1u);
    for (const SeenPicture& picture : seen_) {
        EXPECT_FALSE(picture.start.has_value());
        EXPECT_TRUE(IsNear(picture.top, kBlack, 0) && IsNear(picture.left, kBlack, 0));
    }
    seen_.clear();
}

std::size_t PictureSinkFilter::Count() const {
    const std::lock_guard lock(lock_);
    return seen_.size();
}

} // namespace vistrame::test
