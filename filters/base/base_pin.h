#pragma once

#include <string>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "filters/base/base_filter.h"
#include "filters/base/com_object.h"
#include "filters/base/lock.h"
#include "filters/base/media_type.h"

namespace vistrame {

// The IUnknown of a pin: its own interfaces, the filter's reference count.
class PinIdentity : public IUnknown {
public:
    explicit PinIdentity(BaseFilter& filter) : filter_(filter) {}
    PinIdentity(const PinIdentity&) = delete;
    PinIdentity& operator=(const PinIdentity&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return filter_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return filter_.Release(); }

protected:
    virtual ~PinIdentity() = default;

    virtual void* FindInterface(REFIID iid) { return iid == IID_IUnknown ? this : nullptr; }

    BaseFilter& filter_;
};

// What input and output pins share: name, connection, agreed media type, quality messages (which stay
// unheeded: live data cannot be asked for at another pace).
//
// Threads    connecting and disconnecting under the filter lock; connection data may be read from any thread.
//            CheckMediaType is called from any thread with no lock held and must only read constant data or
//            data with a lock of its own.
// Ownership  the filter owns the pin; the pin references its peer while connected.
// Errors     COM results, the platform's VFW_E_ codes for misuse.
class BasePin : public WithInterfaces<PinIdentity, IPin, IQualityControl> {
public:
    BasePin(BaseFilter& filter, PIN_DIRECTION direction, std::wstring name);
    ~BasePin() override = default;

    const std::wstring& Name() const { return name_; }
    BaseFilter& Filter() const { return filter_; }
    ComPtr<IPin> Peer() const;
    bool IsConnected() const { return Peer() != nullptr; }
    // The agreed type; only meaningful while connected.
    MediaType Type() const;

    // The state machine's two calls, under the filter lock; Deactivate must undo even a failed Activate and
    // must free whoever is blocked inside the pin. Both are called on unconnected pins too.
    virtual HRESULT Activate() { return S_OK; }
    virtual void Deactivate() {}

    // S_OK: this type is good for a connection or for the next sample.
    virtual HRESULT CheckMediaType(const MediaType& type) = 0;
    // What this pin offers, best first; may be empty.
    virtual std::vector<MediaType> OfferedTypes() { return {}; }

    // IPin, as far as both directions agree
    HRESULT STDMETHODCALLTYPE Disconnect() override;
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** peer) override;
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* info) override;
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* direction) override;
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override;
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE* type) override;
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** types) override;
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin** pins, ULONG* count) override;
    // IQualityControl
    HRESULT STDMETHODCALLTYPE Notify(IBaseFilter* from, Quality quality) override;
    HRESULT STDMETHODCALLTYPE SetSink(IQualityControl* sink) override;

protected:
    // The connection is made and complete (allocator included) / about to be taken apart. Filter lock.
    virtual HRESULT Connected() { return S_OK; }
    virtual void Disconnected() {}
    // The pin now uses this type: a connection in the making, or a change in mid-stream (stream lock).
    virtual void TypeAgreed(const MediaType& /*type*/) {}

    // Misuse common to both directions: already connected, filter not stopped, wrong direction of the peer.
    HRESULT CheckConnectable(IPin* peer) const;
    void SetConnection(IPin* peer, const MediaType& type);
    void SetType(const MediaType& type);
    void ClearConnection();

private:
    const PIN_DIRECTION direction_;
    const std::wstring name_;

    mutable Lock leafLock_; // guards what follows; nothing is called under it
    ComPtr<IPin> peer_;
    MediaType type_;
};

// Whose pin it is; null where the pin does not say.
ComPtr<IBaseFilter> FilterOf(IPin& pin);

// Filter and pin by name.
TraceLine& operator<<(TraceLine& line, const BasePin& pin);

} // namespace vistrame
