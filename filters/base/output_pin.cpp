#include "filters/base/output_pin.h"

#include <algorithm>
#include <utility>

#include "filters/base/guarded.h"
#include "filters/base/lent_sample.h"
#include "filters/base/place_reader.h"

namespace vistrame {

OutputPin::OutputPin(BaseFilter& filter, std::wstring name)
    : BasePin(filter, PINDIR_OUTPUT, std::move(name)) {}

HRESULT OutputPin::Activate() {
    announceType_ = false;
    return allocator_ != nullptr && !lends_ ? allocator_->Commit() : S_OK;
}

void OutputPin::Deactivate() {
    if (allocator_ != nullptr) {
        const std::lock_guard lock(takingLock_);
        (void)allocator_->Decommit(); // nothing to do about an allocator that will not
    }
}

HRESULT OutputPin::Connect(IPin* peer, const AM_MEDIA_TYPE* type) {
    return Guarded([&] {
        const std::lock_guard lock(filter_.FilterLock());
        if (const HRESULT result = CheckConnectable(peer); FAILED(result)) {
            return result;
        }
        if (const HRESULT result = CheckPeer(peer); FAILED(result)) {
            return result;
        }
        const AM_MEDIA_TYPE any{};
        const AM_MEDIA_TYPE& pattern = type != nullptr ? *type : any;
        if (!MediaType::IsPartial(pattern)) {
            return TryType(peer, MediaType(pattern));
        }
        HRESULT result = TryOwnTypes(peer, pattern);
        if (FAILED(result)) {
            const HRESULT own = result;
            result = TryPeerTypes(peer, pattern);
            if (FAILED(result) && own != VFW_E_NO_ACCEPTABLE_TYPES) {
                result = own; // why the peer refused what this pin would rather send
            }
        }
        if (FAILED(result) && pattern.majortype != GUID_NULL && pattern.subtype != GUID_NULL) {
            result = TryType(peer, MediaType(pattern));
        }
        return result;
    });
}

HRESULT OutputPin::ReceiveConnection(IPin* /*peer*/, const AM_MEDIA_TYPE* /*type*/) {
    return E_UNEXPECTED; // connections start here
}

HRESULT OutputPin::NewSegment(REFERENCE_TIME /*start*/, REFERENCE_TIME /*stop*/, double /*rate*/) {
    return E_UNEXPECTED;
}

HRESULT OutputPin::TryOwnTypes(IPin* peer, const AM_MEDIA_TYPE& pattern) {
    HRESULT result = VFW_E_NO_ACCEPTABLE_TYPES;
    for (const MediaType& type : OfferedTypes()) {
        if (!type.Matches(pattern)) {
            continue;
        }
        result = TryType(peer, type);
        if (SUCCEEDED(result)) {
            break;
        }
    }
    return result;
}

HRESULT OutputPin::TryPeerTypes(IPin* peer, const AM_MEDIA_TYPE& pattern) {
    ComPtr<IEnumMediaTypes> types;
    if (FAILED(peer->EnumMediaTypes(&types)) || types == nullptr) {
        return VFW_E_NO_ACCEPTABLE_TYPES;
    }
    AM_MEDIA_TYPE* raw = nullptr;
    while (types->Next(1, &raw, nullptr) == S_OK && raw != nullptr) {
        const HRESULT tried = Guarded([&] {
            const MediaType type(*raw);
            return type.Matches(pattern) ? TryType(peer, type) : VFW_E_TYPE_NOT_ACCEPTED;
        });
        MediaType::FreeTaskCopy(raw);
        raw = nullptr;
        if (SUCCEEDED(tried)) {
            return S_OK;
        }
    }
    return VFW_E_NO_ACCEPTABLE_TYPES;
}

HRESULT OutputPin::TryType(IPin* peer, const MediaType& type) {
    if (CheckMediaType(type) != S_OK) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    bool received = false;
    const HRESULT result = Guarded([&] {
        SetConnection(peer, type);
        HRESULT step = peer->ReceiveConnection(this, &type.Get());
        received = SUCCEEDED(step);
        if (received) {
            step = AgreeAllocator(peer);
        }
        return SUCCEEDED(step) ? Connected() : step;
    });
    if (FAILED(result)) {
        if (received) {
            (void)peer->Disconnect(); // the connection never came about
        }
        Disconnected();
        ClearConnection();
        Trace(*this, ": not connected as ", type, ", result ", HexOf(result));
    } else {
        Trace(*this, ": connected, ", type, ", buffers of ", bufferBytes_, " bytes");
    }
    return result;
}

HRESULT OutputPin::AgreeAllocator(IPin* peer) {
    ComPtr<IMemInputPin> input;
    if (const HRESULT result = peer->QueryInterface(IID_PPV_ARGS(&input)); FAILED(result)) {
        return result;
    }
    ComPtr<PlaceReader> reader;
    lends_ = SUCCEEDED(peer->QueryInterface(IID_PPV_ARGS(&reader)));
    ALLOCATOR_PROPERTIES needs = NeededBuffers();
    ALLOCATOR_PROPERTIES wanted{};
    if (SUCCEEDED(input->GetAllocatorRequirements(&wanted))) {
        needs.cBuffers = std::max(needs.cBuffers, wanted.cBuffers);
        needs.cbBuffer = std::max(needs.cbBuffer, wanted.cbBuffer);
        needs.cbAlign = std::max(needs.cbAlign, wanted.cbAlign);
        needs.cbPrefix = std::max(needs.cbPrefix, wanted.cbPrefix);
    }
    needs.cBuffers = std::max(needs.cBuffers, 1L);
    needs.cbBuffer = std::max(needs.cbBuffer, 1L);
    needs.cbAlign = std::max(needs.cbAlign, 1L);

    ComPtr<IMemAllocator> allocator;
    if (SUCCEEDED(input->GetAllocator(&allocator)) && allocator != nullptr &&
        SUCCEEDED(OfferAllocator(input.Get(), allocator.Get(), needs))) {
        return S_OK;
    }
    allocator.Reset();
    const HRESULT result =
        CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&allocator));
    return FAILED(result) ? result : OfferAllocator(input.Get(), allocator.Get(), needs);
}

HRESULT OutputPin::OfferAllocator(IMemInputPin* input, IMemAllocator* allocator, ALLOCATOR_PROPERTIES needs) {
    ALLOCATOR_PROPERTIES actual{};
    HRESULT result = allocator->SetProperties(&needs, &actual);
    if (FAILED(result)) {
        return result;
    }
    if (actual.cbBuffer < needs.cbBuffer) {
        return VFW_E_BUFFER_OVERFLOW;
    }
    result = input->NotifyAllocator(allocator, lends_ ? TRUE : FALSE); // true: is only read
    if (SUCCEEDED(result)) {
        input_ = input;
        allocator_ = allocator;
        bufferBytes_ = actual.cbBuffer;
    }
    return result;
}

void OutputPin::Disconnected() {
    input_.Reset();
    allocator_.Reset();
    bufferBytes_ = 0;
    lends_ = false;
}

HRESULT OutputPin::GetBuffer(ComPtr<IMediaSample>* sample, DWORD flags) {
    if (allocator_ == nullptr) {
        return VFW_E_NOT_CONNECTED;
    }
    if (const HRESULT result = TakeBuffer(sample->ReleaseAndGetAddressOf(), flags); FAILED(result)) {
        return result;
    }
    AM_MEDIA_TYPE* asked = nullptr;
    const HRESULT typed = Guarded([&] {
        if ((*sample)->GetMediaType(&asked) == S_OK && asked != nullptr) {
            // How the peer wants its buffers filled from now on: longer lines, say.
            SetType(MediaType(*asked));
        } else if (announceType_) {
            const MediaType type = Type();
            AM_MEDIA_TYPE fields = type.Get(); // SetMediaType copies what it is given
            (void)(*sample)->SetMediaType(&fields);
        }
        return S_OK;
    });
    MediaType::FreeTaskCopy(asked);
    if (FAILED(typed)) {
        sample->Reset(); // how it is to be filled is not known
        return typed;
    }
    announceType_ = false;
    return S_OK;
}

HRESULT OutputPin::TakeBuffer(IMediaSample** sample, DWORD flags) {
    HRESULT result = E_FAIL;
    {
        const std::lock_guard lock(takingLock_);
        result = allocator_->GetBuffer(sample, nullptr, nullptr, flags | AM_GBF_NOWAIT);
    }
    return FAILED(result) && result != VFW_E_NOT_COMMITTED && (flags & AM_GBF_NOWAIT) == 0
               ? allocator_->GetBuffer(sample, nullptr, nullptr, flags)
               : result;
}

HRESULT OutputPin::Deliver(IMediaSample* sample) {
    const HRESULT result = input_ != nullptr ? input_->Receive(sample) : VFW_E_NOT_CONNECTED;
    if (result == E_OUTOFMEMORY) {
        announceType_ = true; // a changed type that came with this sample may have been lost with it
    }
    return result;
}

HRESULT OutputPin::Send(std::span<const std::uint8_t> bytes, SampleAttributes attributes) {
    if (lends_) {
        const auto copy = std::make_shared<const std::vector<std::uint8_t>>(bytes.begin(), bytes.end());
        return SendWhole(copy, *copy, attributes);
    }
    HRESULT result = S_OK;
    while (!bytes.empty() && result == S_OK) {
        result = SendSome(&bytes, attributes);
        attributes = {.preroll = attributes.preroll};
    }
    return result;
}

// As much of the bytes as a buffer holds.
HRESULT OutputPin::SendSome(std::span<const std::uint8_t>* left, const SampleAttributes& attributes) {
    ComPtr<IMediaSample> sample;
    BYTE* target = nullptr;
    if (const HRESULT result = GetBuffer(&sample); FAILED(result)) {
        return result;
    }
    if (const HRESULT result = sample->GetPointer(&target); FAILED(result)) {
        return result;
    }
    const auto bytes = left->first(std::min(left->size(), static_cast<std::size_t>(sample->GetSize())));
    *left = left->subspan(bytes.size());
    std::ranges::copy(bytes, target);
    (void)sample->SetActualDataLength(static_cast<long>(bytes.size())); // fits: at most GetSize()
    return DeliverAs(sample.Get(), attributes);
}

HRESULT OutputPin::SendWhole(std::shared_ptr<const void> owner, std::span<const std::uint8_t> bytes,
                             const SampleAttributes& attributes) {
    return lends_ ? DeliverAs(MakeObject<LentSample>(std::move(owner), bytes).Get(), attributes)
                  : Send(bytes, attributes);
}

HRESULT OutputPin::DeliverAs(IMediaSample* sample, const SampleAttributes& attributes) {
    REFERENCE_TIME start = attributes.start.value_or(0);
    REFERENCE_TIME stop = attributes.stop.value_or(0);
    // Setters of a sample that is ours alone: nothing can go wrong, and nothing could be done.
    (void)sample->SetTime(attributes.start ? &start : nullptr,
                          attributes.start && attributes.stop ? &stop : nullptr);
    (void)sample->SetSyncPoint(attributes.syncPoint ? TRUE : FALSE);
    (void)sample->SetDiscontinuity(attributes.discontinuity ? TRUE : FALSE);
    (void)sample->SetPreroll(attributes.preroll ? TRUE : FALSE);
    return Deliver(sample);
}

HRESULT OutputPin::DeliverEndOfStream() {
    const ComPtr<IPin> peer = Peer();
    return peer != nullptr ? peer->EndOfStream() : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    const ComPtr<IPin> peer = Peer();
    return peer != nullptr ? peer->NewSegment(start, stop, rate) : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverBeginFlush() {
    const ComPtr<IPin> peer = Peer();
    return peer != nullptr ? peer->BeginFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::DeliverEndFlush() {
    const ComPtr<IPin> peer = Peer();
    return peer != nullptr ? peer->EndFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT OutputPin::EnlargeBuffers(long bufferBytes) {
    ALLOCATOR_PROPERTIES now{};
    if (const HRESULT result = allocator_->GetProperties(&now); FAILED(result)) {
        return result;
    }
    bufferBytes_ = now.cbBuffer; // the peer may have changed it while it took the new type
    if (now.cbBuffer >= bufferBytes) {
        return S_OK;
    }
    ALLOCATOR_PROPERTIES wanted = now;
    ALLOCATOR_PROPERTIES actual{};
    wanted.cbBuffer = bufferBytes;
    (void)allocator_->Decommit();
    const HRESULT result = allocator_->SetProperties(&wanted, &actual);
    const HRESULT committed = allocator_->Commit();
    if (SUCCEEDED(result)) {
        bufferBytes_ = actual.cbBuffer;
    }
    if (FAILED(result) || FAILED(committed)) {
        return FAILED(result) ? result : committed;
    }
    return bufferBytes_ >= bufferBytes ? S_OK : VFW_E_BUFFER_OVERFLOW;
}

HRESULT OutputPin::ChangeType(const MediaType& type, long bufferBytes) {
    const ComPtr<IPin> peer = Peer();
    if (peer == nullptr) {
        return VFW_E_NOT_CONNECTED;
    }
    const bool accepted = peer->QueryAccept(&type.Get()) == S_OK;
    if (!accepted || bufferBytes > bufferBytes_) {
        // Only a peer that reconnects can take a type it does not accept as it stands, or larger pictures.
        const HRESULT result = peer->ReceiveConnection(this, &type.Get());
        if (FAILED(result) && !accepted) {
            Trace(*this, ": the peer refuses to change to ", type, ", result ", HexOf(result));
            return result;
        }
    }
    if (const HRESULT result = EnlargeBuffers(bufferBytes); FAILED(result)) {
        return result;
    }
    SetType(type);
    announceType_ = true;
    return S_OK;
}

} // namespace vistrame
