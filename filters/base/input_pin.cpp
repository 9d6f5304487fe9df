#include "filters/base/input_pin.h"

#include <utility>

#include "filters/base/guarded.h"

namespace vistrame {

InputPin::InputPin(BaseFilter& filter, std::wstring name)
    : WithInterfaces(filter, PINDIR_INPUT, std::move(name)) {}

HRESULT InputPin::Activate() {
    flushing_ = false;
    ended_ = false;
    return S_OK; // the allocator is committed by whoever delivers
}

void InputPin::Deactivate() {
    flushing_ = false;
    ended_ = false; // the allocator is decommitted by whoever delivers, which knows when nobody asks it
}

HRESULT InputPin::Connect(IPin* /*peer*/, const AM_MEDIA_TYPE* /*type*/) {
    return E_UNEXPECTED; // connections start at the output pin
}

HRESULT InputPin::ChangeType(const MediaType& type) {
    if (CheckMediaType(type) != S_OK) {
        return VFW_E_TYPE_NOT_ACCEPTED;
    }
    SetType(type);
    return S_OK;
}

HRESULT InputPin::ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) {
    return Guarded([&] {
        if (peer == nullptr || type == nullptr) {
            return E_POINTER;
        }
        const MediaType offered(*type);
        if (Peer().Get() == peer && AcceptsTypeChange()) {
            // From the streaming thread when running: the stream lock alone keeps the lock order.
            const std::lock_guard streaming(filter_.StreamLock());
            return ChangeType(offered);
        }
        const std::lock_guard lock(filter_.FilterLock());
        if (const HRESULT result = CheckConnectable(peer); FAILED(result)) {
            return result;
        }
        if (CheckMediaType(offered) != S_OK) {
            return VFW_E_TYPE_NOT_ACCEPTED;
        }
        const HRESULT result = Guarded([&] {
            SetConnection(peer, offered);
            return Connected();
        });
        if (FAILED(result)) {
            Disconnected();
            ClearConnection();
        } else {
            Trace(*this, ": connected, ", offered);
        }
        return result;
    });
}

void InputPin::Disconnected() {
    allocator_.Reset();
}

HRESULT InputPin::EndOfStream() {
    return Guarded([&] {
        const std::lock_guard streaming(filter_.StreamLock());
        if (flushing_ || filter_.State() == State_Stopped) {
            return S_FALSE;
        }
        ended_ = true;
        Trace(*this, ": end of stream");
        return OnEndOfStream();
    });
}

HRESULT InputPin::BeginFlush() {
    return Guarded([&] {
        const std::lock_guard lock(filter_.FilterLock());
        flushing_ = true;
        Trace(*this, ": flush begins");
        return OnBeginFlush();
    });
}

HRESULT InputPin::EndFlush() {
    return Guarded([&] {
        const std::lock_guard lock(filter_.FilterLock());
        const std::lock_guard streaming(filter_.StreamLock());
        const HRESULT result = Guarded([&] { return OnEndFlush(); }); // data passes again whatever it says
        ended_ = false;
        flushing_ = false;
        Trace(*this, ": flush ends");
        return result;
    });
}

HRESULT InputPin::NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) {
    const HRESULT result = Guarded([&] {
        const std::lock_guard streaming(filter_.StreamLock());
        return OnNewSegment(start, stop, rate);
    });
    SegmentPassed();
    return result;
}

HRESULT InputPin::GetAllocator(IMemAllocator** allocator) {
    return Guarded([&] {
        if (allocator == nullptr) {
            return E_POINTER;
        }
        const std::lock_guard lock(filter_.FilterLock());
        if (allocator_ == nullptr) {
            const HRESULT result = CoCreateInstance(CLSID_MemoryAllocator, nullptr, CLSCTX_INPROC_SERVER,
                                                    IID_PPV_ARGS(&allocator_));
            if (FAILED(result)) {
                return result;
            }
        }
        *allocator = ComPtr<IMemAllocator>(allocator_).Detach();
        return S_OK;
    });
}

HRESULT InputPin::NotifyAllocator(IMemAllocator* allocator, BOOL /*readOnly*/) {
    if (allocator == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] {
        const std::lock_guard lock(filter_.FilterLock());
        allocator_ = allocator;
        return S_OK;
    });
}

HRESULT InputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES* /*needs*/) {
    return E_NOTIMPL; // documented to mean: none
}

HRESULT InputPin::TakeSampleType(IMediaSample* sample) {
    AM_MEDIA_TYPE* raw = nullptr;
    if (sample->GetMediaType(&raw) != S_OK || raw == nullptr) {
        return S_OK; // the type has not changed
    }
    const HRESULT result = Guarded([&] { return ChangeType(MediaType(*raw)); });
    MediaType::FreeTaskCopy(raw);
    return result;
}

HRESULT InputPin::Receive(IMediaSample* sample) {
    return Guarded([&] {
        if (sample == nullptr) {
            return E_POINTER;
        }
        const std::lock_guard streaming(filter_.StreamLock());
        if (filter_.State() == State_Stopped) {
            return VFW_E_WRONG_STATE;
        }
        if (flushing_) {
            return S_FALSE;
        }
        if (ended_) {
            return VFW_E_SAMPLE_REJECTED_EOS;
        }
        const HRESULT typed = TakeSampleType(sample);
        if (typed == E_OUTOFMEMORY) {
            return typed; // this sample is lost, not the connection
        }
        if (FAILED(typed)) {
            Trace(*this, ": a sample brings a type that is not taken");
            filter_.NotifyGraph(EC_ERRORABORT, VFW_E_TYPE_NOT_ACCEPTED, 0);
            return VFW_E_INVALIDMEDIATYPE;
        }
        return OnReceive(sample);
    });
}

HRESULT InputPin::ReceiveMultiple(IMediaSample** samples, long count, long* done) {
    if (samples == nullptr || done == nullptr) {
        return E_POINTER;
    }
    for (*done = 0; *done < count; ++*done) {
        if (const HRESULT result = Receive(samples[*done]); result != S_OK) {
            return result;
        }
    }
    return S_OK;
}

HRESULT InputPin::ReceiveCanBlock() {
    return S_OK; // S_OK means yes: whoever asks should deliver on a thread of its own
}

} // namespace vistrame
