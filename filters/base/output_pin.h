#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "filters/base/base_pin.h"
#include "filters/base/lock.h"

namespace vistrame {

// What a sample says besides its bytes.
struct SampleAttributes {
    std::optional<REFERENCE_TIME> start = std::nullopt;
    std::optional<REFERENCE_TIME> stop = std::nullopt; // only with a start
    bool syncPoint = false;
    bool discontinuity = false; // does not continue the sample before
    bool preroll = false;
};

// An output pin: agrees on a type and an allocator with an input pin and delivers samples to it.
//
// Connecting, with the type the caller gives:
//   complete       only that type is tried;
//   null, partial  the types this pin offers, then those the peer offers, each if it fits the given one;
//                  last the given type itself when it names major type and subtype.
// A type is agreed when CheckMediaType here and ReceiveConnection there take it. Then the allocator: the
// peer's when it can give what NeededBuffers asks for, else the system's memory allocator. A PlaceReader is
// lent the bytes instead.
//
// Threads    connecting under the filter lock. GetBuffer and the Deliver functions belong to the thread that
//            streams (the stream lock, or a worker of the filter's own); BeginFlush/EndFlush come from any
//            other.
// Ownership  references the peer's IMemInputPin and the allocator while connected.
// Errors     what the peer answers; VFW_E_NO_ACCEPTABLE_TYPES when no candidate is agreed;
//            VFW_E_NOT_CONNECTED when delivering without a peer.
class OutputPin : public BasePin {
public:
    OutputPin(BaseFilter& filter, std::wstring name);

    // Commits the allocator / decommits it, which frees a thread that waits for a buffer.
    HRESULT Activate() override;
    void Deactivate() override;

    // A buffer to fill; blocks until the peer has given one back. Fails once inactive.
    HRESULT GetBuffer(ComPtr<IMediaSample>* sample, DWORD flags = 0);
    HRESULT Deliver(IMediaSample* sample);
    // Copies the bytes into buffers and delivers them, in as many samples as it takes; times, sync point and
    // discontinuity stand on the first. Ends with the first result that is not S_OK.
    HRESULT Send(std::span<const std::uint8_t> bytes, SampleAttributes attributes);
    // The same for bytes that `owner` keeps: one sample without a copy where the peer is a PlaceReader.
    HRESULT SendWhole(std::shared_ptr<const void> owner, std::span<const std::uint8_t> bytes,
                      const SampleAttributes& attributes);
    HRESULT DeliverEndOfStream();
    HRESULT DeliverNewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate);
    HRESULT DeliverBeginFlush();
    HRESULT DeliverEndFlush();

    // Changes the agreed type in mid-stream, on the streaming thread with no buffer of this pin outstanding
    // here: asks the peer (QueryAccept, then ReceiveConnection for peers that only reconnect) and enlarges
    // the allocator's buffers to `bufferBytes` where they are smaller. The next sample from GetBuffer carries
    // the type, or the peer's own wish where it puts one on its buffers. S_OK, or the type in force stays.
    HRESULT ChangeType(const MediaType& type, long bufferBytes);

    // Bytes one buffer of the allocator holds; 0 while not connected.
    long BufferBytes() const { return bufferBytes_; }

    // IPin
    HRESULT STDMETHODCALLTYPE Connect(IPin* peer, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME start, REFERENCE_TIME stop, double rate) override;

protected:
    // How many buffers of what size; called with the agreed type in place. Fields that are 0 count as 1.
    virtual ALLOCATOR_PROPERTIES NeededBuffers() = 0;
    // Before any type is tried; a failure ends the connecting.
    virtual HRESULT CheckPeer(IPin* /*peer*/) { return S_OK; }

    void Disconnected() override;

private:
    HRESULT TryType(IPin* peer, const MediaType& type);
    HRESULT TryOwnTypes(IPin* peer, const AM_MEDIA_TYPE& pattern);
    HRESULT TryPeerTypes(IPin* peer, const AM_MEDIA_TYPE& pattern);
    HRESULT AgreeAllocator(IPin* peer);
    HRESULT OfferAllocator(IMemInputPin* input, IMemAllocator* allocator, ALLOCATOR_PROPERTIES needs);
    HRESULT EnlargeBuffers(long bufferBytes);
    HRESULT TakeBuffer(IMediaSample** sample, DWORD flags);
    HRESULT SendSome(std::span<const std::uint8_t>* left, const SampleAttributes& attributes);
    HRESULT DeliverAs(IMediaSample* sample, const SampleAttributes& attributes);

    // Written under the filter lock while stopped; read by the streaming thread while active.
    ComPtr<IMemInputPin> input_;
    ComPtr<IMemAllocator> allocator_;
    long bufferBytes_ = 0;
    bool lends_ = false; // the peer is a PlaceReader; the allocator is agreed on and not used
    // Keeps Decommit away from a GetBuffer that finds a buffer. Wine's memory allocator closes what its
    // callers wait on as soon as all buffers are there: a thread on its way into that wait never came back,
    // and the state change waited for the thread. With a buffer outstanding, when GetBuffer really waits, it
    // is safe.
    Lock takingLock_;
    std::atomic<bool> announceType_ = false; // the next buffer carries the type in force
};

} // namespace vistrame
