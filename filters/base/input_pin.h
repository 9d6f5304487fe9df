#pragma once

#include <atomic>

#include "filters/base/base_pin.h"

namespace vistrame {

// An input pin with IMemInputPin.
//
// Threads    samples, segments and the end of stream pass under the filter's stream lock, on the thread that
//            delivers them. Flushing comes on any other thread: BeginFlush makes further samples bounce and
//            must not wait (OnBeginFlush passes the flush on, which frees a blocked delivery); EndFlush then
//            waits for the stream lock.
// States     a sample is refused with S_FALSE while flushing, VFW_E_WRONG_STATE while stopped and
//            VFW_E_SAMPLE_REJECTED_EOS after the end of stream, which a flush or stopping clears.
// Errors     what the On functions throw goes back as E_OUTOFMEMORY: the sample is lost, and whoever delivers
//            marks the next as not continuing.
// Ownership  borrows each sample until OnReceive returns; references the allocator while connected.
class InputPin : public WithInterfaces<BasePin, IMemInputPin> {
public:
    InputPin(BaseFilter& filter, std::wstring name);

    HRESULT Activate() override;
    void Deactivate() override;

    // IPin
    HRESULT STDMETHODCALLTYPE Connect(IPin* peer, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override;
    HRESULT STDMETHODCALLTYPE BeginFlush() override;
    HRESULT STDMETHODCALLTYPE EndFlush() override;
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;
    // IMemInputPin
    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override;
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override;
    HRESULT STDMETHODCALLTYPE GetAllocatorRequirements(ALLOCATOR_PROPERTIES* needs) override;
    HRESULT STDMETHODCALLTYPE Receive(IMediaSample* sample) override;
    HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMediaSample** samples, long count, long* done) override;
    HRESULT STDMETHODCALLTYPE ReceiveCanBlock() override;

protected:
    // Stream lock held. A failure goes back to whoever delivers.
    virtual HRESULT OnReceive(IMediaSample* sample) = 0;
    virtual HRESULT OnEndOfStream() { return S_OK; }
    virtual HRESULT OnNewSegment(REFERENCE_TIME /*start*/, REFERENCE_TIME /*stop*/, double /*rate*/) {
        return S_OK;
    }
    // Behind OnNewSegment. No lock held.
    virtual void SegmentPassed() {}
    // Filter lock held; OnEndFlush has the stream lock too.
    virtual HRESULT OnBeginFlush() { return S_OK; }
    virtual HRESULT OnEndFlush() { return S_OK; }
    // True: the connected peer may agree on another type by ReceiveConnection, without disconnecting.
    virtual bool AcceptsTypeChange() const { return true; }

    void Disconnected() override;

private:
    HRESULT TakeSampleType(IMediaSample* sample);
    HRESULT ChangeType(const MediaType& type);

    ComPtr<IMemAllocator> allocator_; // filter lock
    std::atomic<bool> flushing_ = false;
    std::atomic<bool> ended_ = false;
};

} // namespace vistrame
