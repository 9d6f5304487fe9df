#include "filters/overlay/overlay_mixer.h"

#include "filters/base/guarded.h"
#include "filters/decoders/picture_output.h"
#include "filters/pictures/picture_types.h"

namespace vistrame {

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
    // A graph builder looks for any free input pin, and ours is one.
    HRESULT CheckPeer(IPin* peer) override {
        PIN_INFO info{};
        if (FAILED(peer->QueryPinInfo(&info))) {
            return E_UNEXPECTED;
        }
        ComPtr<IBaseFilter> filter;
        *filter.ReleaseAndGetAddressOf() = info.pFilter;
        return filter.Get() == static_cast<IBaseFilter*>(&owner_) ? VFW_E_CANNOT_CONNECT : S_OK;
    }

private:
    OverlayMixer& owner_;
};

class OverlayMixer::MixerInput final : public InputPin {
public:
    explicit MixerInput(OverlayMixer& owner) : InputPin(owner, L"Input0"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override {
        const ComPtr<IPin> renderer = owner_.output_->Peer();
        if (!ReadPictureType(type)) {
            return VFW_E_TYPE_NOT_ACCEPTED;
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
            return renderer != nullptr && SUCCEEDED(renderer->GetAllocator(allocator))
                       ? S_OK
                       : InputPin::GetAllocator(allocator);
        });
    }

    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override {
        return Guarded([&] {
            const ComPtr<IMemInputPin> renderer = owner_.RendererInput();
            const HRESULT result =
                renderer != nullptr ? renderer->NotifyAllocator(allocator, readOnly) : S_OK;
            return SUCCEEDED(result) ? InputPin::NotifyAllocator(allocator, readOnly) : result;
        });
    }

    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override { return S_OK; }

protected:
    HRESULT OnReceive(IMediaSample* sample) override {
        return owner_.output_->IsConnected() ? owner_.output_->Deliver(sample) : S_OK;
    }
    HRESULT OnEndOfStream() override { return owner_.output_->DeliverEndOfStream(); }
    HRESULT OnNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override {
        return owner_.output_->DeliverNewSegment(start, stop, rate);
    }
    HRESULT OnBeginFlush() override { return owner_.output_->DeliverBeginFlush(); }
    HRESULT OnEndFlush() override { return owner_.output_->DeliverEndFlush(); }

    void TypeAgreed(const MediaType& type) override {
        if (owner_.State() != State_Stopped && owner_.output_->IsConnected()) {
            owner_.output_->SetType(type);
        }
    }

private:
    OverlayMixer& owner_;
};

std::vector<MediaType> OverlayMixer::MixerOutput::OfferedTypes() {
    return owner_.input_->IsConnected() ? std::vector{owner_.input_->Type()} : PictureOutput::OfferedTypes();
}

OverlayMixer::OverlayMixer()
    : BaseFilter(CLSID_OverlayMixer),
      input_(&AddPin(std::make_unique<MixerInput>(*this))),
      output_(&AddPin(std::make_unique<MixerOutput>(*this))) {}

// Before the input takes a type: makes the renderer take it.
HRESULT OverlayMixer::AgreeDownstream(const MediaType& type) {
    const ComPtr<IPin> renderer = output_->Peer();
    if (renderer == nullptr || output_->Type() == type) {
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
