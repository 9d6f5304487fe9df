#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "filters/base/com_object.h"
#include "filters/base/lock.h"
#include "filters/base/trace.h"

namespace vistrame {

class BasePin;

// A filter: its pins, its state, its clock and its place in a graph.
//
// Threads    Two locks, always taken in this order:
//              filter lock    one at a time: state changes, connecting, joining a graph, flushing.
//              stream lock    held while a sample, a segment or the end of stream passes through the filter.
//            Whoever streams never asks for the filter lock; so Stop, which holds it, may wait for the stream
//            lock. Everything a neighbour may ask for while it streams (connection data, QueryAccept, state,
//            clock) is guarded by leaf locks under which nothing is called.
//            Both are recursive: a neighbour calls back in the middle of connecting.
// States     Stopped -> Paused: Starting(), then every pin's Activate(); a failure takes everything back.
//            Paused -> Running: Running(start). Running -> Paused: Pausing(). Running <-> Stopped goes
//            through Paused. -> Stopped: the state first, so that no new sample enters; each pin's
//            Deactivate(), which frees whoever is blocked in it; then the wait for the stream lock; then
//            Stopped().
// Ownership  owns its pins, which live as long as the filter: a pin's references count on the filter. The
//            graph is not referenced, it owns the filter.
//            A derived class that has threads stops itself in its destructor: its members go before its pins.
// Errors     COM results; a failed state change leaves the filter stopped. Starting and Activate may throw
//            for want of memory; whatever stops must not need any.
class BaseFilter : public WithInterfaces<ComObject, IBaseFilter> {
public:
    explicit BaseFilter(const CLSID& classId);

    std::recursive_mutex& FilterLock() const { return filterLock_; }
    std::recursive_mutex& StreamLock() const { return streamLock_; }

    FILTER_STATE State() const { return state_; }
    // Where stream time 0 stands on the clock; valid while running.
    REFERENCE_TIME StreamStart() const { return streamStart_; }
    // The graph's clock, null without one.
    ComPtr<IReferenceClock> Clock() const;
    // Now on the stream's time line; false when not running or without a clock.
    bool StreamTime(REFERENCE_TIME* now) const;
    // Sends an event (EC_...) to the graph; dropped outside a graph.
    void NotifyGraph(long event, LONG_PTR first, LONG_PTR second);
    ComPtr<IFilterGraph> Graph() const;
    // By the name it has in its graph.
    friend TraceLine& operator<<(TraceLine& line, const BaseFilter& filter);

    // IPersist
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* classId) override;
    // IMediaFilter
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME start) override;
    HRESULT STDMETHODCALLTYPE GetState(DWORD milliseconds, FILTER_STATE* state) override;
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock* clock) override;
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** clock) override;
    // IBaseFilter
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** pins) override;
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** pin) override;
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override;
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR* info) override;

protected:
    ~BaseFilter() override;

    void* FindInterface(REFIID iid) override;

    // Appends a pin; enumeration is in the order of adding.
    template <class Pin>
    Pin& AddPin(std::unique_ptr<Pin> pin) {
        Pin& added = *pin;
        TakePin(std::move(pin));
        return added;
    }
    // Takes a disconnected pin out of the enumeration. The object itself stays until the filter goes, since
    // someone may still hold a reference to it.
    void RetirePin(const BasePin& pin);
    // In the order of enumeration; null behind the last. A loop over it needs no memory, so that a filter can
    // always stop; under the filter lock it misses none.
    BasePin* PinAt(std::size_t index) const;

    // Hooks of the state machine, under the filter lock; see States above.
    virtual HRESULT Starting() { return S_OK; }
    virtual void Running(REFERENCE_TIME /*start*/) {}
    virtual void Pausing() {}
    virtual void Stopped() {}
    // A live filter cannot hold a first sample while paused: the graph must not wait for one.
    virtual bool CanCueWhilePaused() const { return true; }

private:
    void TakePin(std::unique_ptr<BasePin> pin);
    HRESULT ActivatePins();

    const CLSID classId_;
    mutable std::recursive_mutex filterLock_;
    mutable std::recursive_mutex streamLock_;
    std::atomic<FILTER_STATE> state_ = State_Stopped;
    std::atomic<REFERENCE_TIME> streamStart_ = 0;

    mutable Lock leafLock_; // guards what follows; nothing is called under it
    std::vector<std::unique_ptr<BasePin>> pins_;
    std::vector<std::unique_ptr<BasePin>> retiredPins_;
    ComPtr<IReferenceClock> clock_;
    IFilterGraph* graph_ = nullptr;
    IMediaEventSink* eventSink_ = nullptr; // the graph's own interface, not referenced either
    std::wstring name_;
};

} // namespace vistrame
