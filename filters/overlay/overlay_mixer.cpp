#include "filters/overlay/overlay_mixer.h"

#include <array>
#include <chrono>

#include "filters/base/guarded.h"
#include "filters/decoders/picture_output.h"
#include "filters/pictures/picture_types.h"

namespace vistrame {

namespace {

// What the renderer is given for each picture that is painted past it: even numbers, and no more than that.
constexpr int kStandInWidth = 64;
constexpr int kStandInHeight = 36;

// The last picture is painted again after as long without a new one: not seen as a gap, and no load.
constexpr std::chrono::milliseconds kRepaint{100};
constexpr std::chrono::milliseconds kRepaintAtFirst{20};
constexpr std::chrono::milliseconds kSettling{500};

MediaType StandInType() {
    return MakePictureType(*FindPixelLayout(MEDIASUBTYPE_RGB32), kStandInWidth, kStandInHeight, Aspect{},
                           Picture{}.duration, FORMAT_VideoInfo);
}

ComPtr<IOverlay> WindowOwner(IPin* renderer) {
    ComPtr<IOverlay> owner;
    if (renderer != nullptr) {
        (void)renderer->QueryInterface(IID_PPV_ARGS(&owner)); // null says it
    }
    return owner;
}

// The renderer's own pictures go where nobody sees them.
void HideOwnPictures(IPin* renderer) {
    const ComPtr<IBaseFilter> filter = FilterOf(*renderer);
    ComPtr<IBasicVideo> video;
    if (filter != nullptr && SUCCEEDED(filter->QueryInterface(IID_IBasicVideo, &video))) {
        (void)video->SetDestinationPosition(-kStandInWidth, -kStandInHeight, kStandInWidth, kStandInHeight);
    }
}

// Made by the graph, so that the renderer's window belongs to the thread on which the graph serves windows.
// Without it the graph searches for a renderer. The devices' own parser is asked for its name: Wine's
// MkParseDisplayName, which does that too, leaves two registry keys open each time.
void AddWindowRenderer(IFilterGraph* graph) {
    wchar_t name[] = // of its registration among the DirectShow filters; only read
        L"@device:sw:{083863F1-70DE-11D0-BD40-00A0C911CE86}\\{70E102B0-5556-11CE-97C0-00AA0055595A}";
    ComPtr<IParseDisplayName> devices;
    ComPtr<IFilterGraph2> builder;
    ComPtr<IBindCtx> context;
    ComPtr<IMoniker> device;
    ULONG eaten = 0;
    if (FAILED(graph->QueryInterface(IID_PPV_ARGS(&builder))) || FAILED(CreateBindCtx(0, &context)) ||
        FAILED(
            CoCreateInstance(CLSID_CDeviceMoniker, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&devices))) ||
        FAILED(devices->ParseDisplayName(context.Get(), name, &eaten, &device))) {
        return;
    }
    ComPtr<IBaseFilter> renderer;
    (void)builder->AddSourceFilterForMoniker(device.Get(), context.Get(), L"Video Renderer", &renderer);
}

} // namespace

class OverlayMixer::MixerOutput final : public OutputPin {
public:
    explicit MixerOutput(OverlayMixer& owner) : OutputPin(owner, L"Output"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override {
        return ReadPictureType(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }
    std::vector<MediaType> OfferedTypes() override;

    // Mid-stream: the renderer has taken the type already.
    using BasePin::SetType;

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override {
        const auto picture = ReadPictureType(Type());
        return {.cBuffers = 1, .cbBuffer = picture ? picture->Bytes() : 0, .cbAlign = 1, .cbPrefix = 0};
    }
    // A graph builder looks for any free input pin, and ours is one; and for the renderer of the highest
    // merit, which mixes itself and says nothing of its window.
    HRESULT CheckPeer(IPin* peer) override {
        const ComPtr<IBaseFilter> filter = FilterOf(*peer);
        if (filter == nullptr) {
            return E_UNEXPECTED;
        }
        if (filter.Get() == static_cast<IBaseFilter*>(&owner_)) {
            return VFW_E_CANNOT_CONNECT;
        }
        owner_.paints_ = WindowOwner(peer) != nullptr;
        ComPtr<IVMRFilterConfig> mixing;
        return FAILED(filter->QueryInterface(IID_IVMRFilterConfig, &mixing)) ? S_OK : VFW_E_CANNOT_CONNECT;
    }
    void Disconnected() override {
        OutputPin::Disconnected();
        owner_.paints_ = false;
    }

private:
    OverlayMixer& owner_;
};

class OverlayMixer::MixerInput final : public InputPin {
public:
    explicit MixerInput(OverlayMixer& owner) : InputPin(owner, L"Input0"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override {
        const ComPtr<IPin> renderer = owner_.output_->Peer();
        const auto picture = ReadPictureType(type);
        if (!picture) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        if (owner_.paints_) { // RGB is twice the bytes and one conversion more
            return picture->layout->compression != BI_RGB ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
        }
        return renderer == nullptr || renderer->QueryAccept(&type.Get()) == S_OK ? S_OK
                                                                                 : VFW_E_TYPE_NOT_ACCEPTED;
    }

    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override {
        return Guarded([&] {
            if (peer == nullptr || type == nullptr) {
                return E_POINTER;
            }
            const HRESULT result = owner_.AgreeDownstream(MediaType(*type));
            return SUCCEEDED(result) ? InputPin::ReceiveConnection(peer, type) : result;
        });
    }

    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override {
        return Guarded([&] {
            const ComPtr<IMemInputPin> renderer = owner_.RendererInput();
            return !owner_.paints_ && renderer != nullptr && SUCCEEDED(renderer->GetAllocator(allocator))
                       ? S_OK
                       : InputPin::GetAllocator(allocator);
        });
    }

    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override {
        return Guarded([&] {
            const ComPtr<IMemInputPin> renderer = owner_.RendererInput();
            const HRESULT result = !owner_.paints_ && renderer != nullptr
                                       ? renderer->NotifyAllocator(allocator, readOnly)
                                       : S_OK;
            return SUCCEEDED(result) ? InputPin::NotifyAllocator(allocator, readOnly) : result;
        });
    }

    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override { return S_OK; }

protected:
    HRESULT OnReceive(IMediaSample* sample) override {
        if (!owner_.output_->IsConnected()) {
            return S_OK;
        }
        return owner_.paints_ ? owner_.Paint(sample) : owner_.output_->Deliver(sample);
    }
    HRESULT OnEndOfStream() override { return owner_.output_->DeliverEndOfStream(); }
    HRESULT OnNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override {
        return owner_.output_->DeliverNewSegment(start, stop, rate);
    }
    HRESULT OnBeginFlush() override { return owner_.output_->DeliverBeginFlush(); }
    HRESULT OnEndFlush() override { return owner_.output_->DeliverEndFlush(); }

    void TypeAgreed(const MediaType& type) override {
        if (owner_.State() != State_Stopped && owner_.output_->IsConnected() && !owner_.paints_) {
            owner_.output_->SetType(type);
        }
    }

private:
    OverlayMixer& owner_;
};

std::vector<MediaType> OverlayMixer::MixerOutput::OfferedTypes() {
    if (owner_.paints_) {
        return {StandInType()};
    }
    return owner_.input_->IsConnected() ? std::vector{owner_.input_->Type()} : PictureOutput::OfferedTypes();
}

OverlayMixer::OverlayMixer()
    : BaseFilter(CLSID_OverlayMixer),
      input_(&AddPin(std::make_unique<MixerInput>(*this))),
      output_(&AddPin(std::make_unique<MixerOutput>(*this))) {}

HRESULT OverlayMixer::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    const HRESULT result = BaseFilter::JoinFilterGraph(graph, name);
    if (SUCCEEDED(result) && graph != nullptr) {
        AddWindowRenderer(graph);
    }
    return result;
}

HRESULT OverlayMixer::Starting() {
    HWND window = nullptr; // null: nothing is painted
    const ComPtr<IPin> renderer = output_->Peer();
    if (const ComPtr<IOverlay> owner = paints_ ? WindowOwner(renderer.Get()) : nullptr) {
        (void)owner->GetWindowHandle(&window);
        HideOwnPictures(renderer.Get());
    }
    painter_.Begin(window);
    if (window != nullptr) {
        painting_ = true;
        painterThread_.Start([this] { KeepPainted(); });
    }
    return S_OK;
}

void OverlayMixer::Stopped() {
    {
        const std::lock_guard lock(endLock_);
        painting_ = false;
    }
    ended_.notify_all();
    painterThread_.Join();
}

// The worker: often at first, since the window is shown, and so erased, about when the first picture comes.
void OverlayMixer::KeepPainted() {
    const auto begun = std::chrono::steady_clock::now();
    std::unique_lock lock(endLock_);
    while (painting_) {
        const bool settled = std::chrono::steady_clock::now() - begun > kSettling;
        if (!ended_.wait_for(lock, settled ? kRepaint : kRepaintAtFirst, [this] { return !painting_; })) {
            lock.unlock();
            painter_.Repaint(settled ? kRepaint : kRepaintAtFirst);
            lock.lock();
        }
    }
}

// The renderer takes the stand-in when the picture is due. While paused it keeps it until the graph runs on,
// so the picture comes first then.
HRESULT OverlayMixer::Paint(IMediaSample* sample) {
    BYTE* pixels = nullptr;
    const auto type = ReadPictureType(input_->Type());
    if (type && SUCCEEDED(sample->GetPointer(&pixels))) {
        painter_.Prepare(*type, pixels, sample->GetSize());
    }
    if (State() == State_Paused) {
        painter_.Show();
    }
    SampleAttributes attributes{.syncPoint = true, .discontinuity = sample->IsDiscontinuity() == S_OK};
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (SUCCEEDED(sample->GetTime(&start, &stop))) {
        attributes.start = start;
        attributes.stop = stop;
    }
    static constexpr std::array<std::uint8_t, kStandInWidth * kStandInHeight * 4> kBlackPixels{};
    const HRESULT result = output_->Send(kBlackPixels, attributes);
    if (result == S_OK) {
        painter_.Show();
    }
    return result;
}

// Before the input takes a type: makes the renderer take it.
HRESULT OverlayMixer::AgreeDownstream(const MediaType& type) {
    const ComPtr<IPin> renderer = output_->Peer();
    if (renderer == nullptr || paints_ || output_->Type() == type) {
        return S_OK;
    }
    if (State() != State_Stopped) {
        return renderer->ReceiveConnection(output_, &type.Get());
    }
    const std::lock_guard lock(FilterLock());
    const MediaType before = output_->Type();
    (void)renderer->Disconnect(); // both are stopped and connected
    (void)output_->Disconnect();
    const HRESULT result = output_->Connect(renderer.Get(), &type.Get());
    if (FAILED(result)) {
        (void)output_->Connect(renderer.Get(), &before.Get()); // it took that one a moment ago
    }
    return result;
}

ComPtr<IMemInputPin> OverlayMixer::RendererInput() const {
    const ComPtr<IPin> renderer = output_->Peer();
    ComPtr<IMemInputPin> input;
    if (renderer != nullptr) {
        (void)renderer.As(&input); // null says it
    }
    return input;
}

} // namespace vistrame
