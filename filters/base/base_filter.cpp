#include "filters/base/base_filter.h"

#include <algorithm>

#include "filters/base/base_pin.h"
#include "filters/base/enumerators.h"
#include "filters/base/guarded.h"
#include "filters/base/reference_time.h"

namespace vistrame {

BaseFilter::BaseFilter(const CLSID& classId) : classId_(classId) {}

BaseFilter::~BaseFilter() = default;

void* BaseFilter::FindInterface(REFIID iid) {
    if (iid == IID_IPersist || iid == IID_IMediaFilter) {
        return static_cast<IBaseFilter*>(this);
    }
    return WithInterfaces::FindInterface(iid);
}

ComPtr<IReferenceClock> BaseFilter::Clock() const {
    const std::lock_guard lock(leafLock_);
    return clock_;
}

ComPtr<IFilterGraph> BaseFilter::Graph() const {
    const std::lock_guard lock(leafLock_);
    return graph_;
}

bool BaseFilter::StreamTime(REFERENCE_TIME* now) const {
    const ComPtr<IReferenceClock> clock = Clock();
    if (state_ != State_Running || clock == nullptr || FAILED(clock->GetTime(now))) {
        return false;
    }
    *now -= streamStart_;
    return true;
}

TraceLine& operator<<(TraceLine& line, const BaseFilter& filter) {
    const std::lock_guard lock(filter.leafLock_);
    return filter.name_.empty() ? line << "filter " << Hex{static_cast<std::uint32_t>(filter.classId_.Data1)}
                                : line << std::wstring_view(filter.name_);
}

void BaseFilter::NotifyGraph(long event, LONG_PTR first, LONG_PTR second) {
    ComPtr<IMediaEventSink> sink;
    {
        const std::lock_guard lock(leafLock_);
        sink = eventSink_;
    }
    if (sink != nullptr) {
        (void)sink->Notify(event, first, second); // nobody can do anything about a lost event
    }
}

HRESULT BaseFilter::GetClassID(CLSID* classId) {
    if (classId == nullptr) {
        return E_POINTER;
    }
    *classId = classId_;
    return S_OK;
}

HRESULT BaseFilter::ActivatePins() {
    for (std::size_t i = 0; BasePin* pin = PinAt(i); ++i) {
        if (const HRESULT result = Guarded([&] { return pin->Activate(); }); FAILED(result)) {
            for (std::size_t started = 0; started <= i; ++started) {
                PinAt(started)->Deactivate();
            }
            return result;
        }
    }
    return S_OK;
}

HRESULT BaseFilter::Stop() {
    return Guarded([&] {
        const std::lock_guard lock(filterLock_);
        if (state_ == State_Stopped) {
            return S_OK;
        }
        state_ = State_Stopped;
        for (std::size_t i = 0; BasePin* pin = PinAt(i); ++i) { // without memory too
            pin->Deactivate();
        }
        { const std::lock_guard streaming(streamLock_); } // whoever is still passing through leaves now
        Stopped();
        Trace(*this, ": stopped");
        return S_OK;
    });
}

HRESULT BaseFilter::Pause() {
    return Guarded([&] {
        const std::lock_guard lock(filterLock_);
        if (state_ == State_Running) {
            state_ = State_Paused;
            Pausing();
            Trace(*this, ": paused");
            return S_OK;
        }
        if (state_ == State_Paused) {
            return S_OK;
        }
        if (const HRESULT result = Guarded([&] { return Starting(); }); FAILED(result)) {
            Trace(*this, ": cannot start, result ", HexOf(result));
            return result;
        }
        if (const HRESULT result = ActivatePins(); FAILED(result)) {
            Stopped();
            Trace(*this, ": a pin cannot start, result ", HexOf(result));
            return result;
        }
        state_ = State_Paused;
        Trace(*this, ": paused, was stopped");
        return S_OK;
    });
}

HRESULT BaseFilter::Run(REFERENCE_TIME start) {
    return Guarded([&] {
        const std::lock_guard lock(filterLock_);
        if (state_ == State_Running) {
            return S_OK;
        }
        if (const HRESULT result = Pause(); FAILED(result)) {
            return result;
        }
        streamStart_ = start;
        state_ = State_Running;
        Running(start);
        Trace(*this, ": running, stream time 0 is ", MillisecondsFromReference(start), " ms of the clock");
        return S_OK;
    });
}

HRESULT BaseFilter::GetState(DWORD /*milliseconds*/, FILTER_STATE* state) {
    if (state == nullptr) {
        return E_POINTER;
    }
    *state = state_;
    return *state == State_Paused && !CanCueWhilePaused() ? VFW_S_CANT_CUE : S_OK;
}

HRESULT BaseFilter::SetSyncSource(IReferenceClock* clock) {
    return Guarded([&] {
        ComPtr<IReferenceClock> old; // let go after the lock
        const std::lock_guard lock(leafLock_);
        old.Swap(clock_);
        clock_ = clock;
        return S_OK;
    });
}

HRESULT BaseFilter::GetSyncSource(IReferenceClock** clock) {
    if (clock == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] {
        *clock = Clock().Detach();
        return S_OK;
    });
}

HRESULT BaseFilter::EnumPins(IEnumPins** pins) {
    if (pins == nullptr) {
        return E_POINTER;
    }
    *pins = nullptr;
    return Guarded([&] {
        std::vector<ComPtr<IPin>> list;
        for (std::size_t i = 0; BasePin* pin = PinAt(i); ++i) {
            list.emplace_back(pin);
        }
        *pins = MakeObject<PinEnumerator>(std::move(list)).Detach();
        return S_OK;
    });
}

HRESULT BaseFilter::FindPin(LPCWSTR id, IPin** pin) {
    if (id == nullptr || pin == nullptr) {
        return E_POINTER;
    }
    *pin = nullptr;
    return Guarded([&] {
        for (std::size_t i = 0; BasePin* candidate = PinAt(i); ++i) {
            if (candidate->Name() == id) {
                *pin = ComPtr<IPin>(candidate).Detach();
                return S_OK;
            }
        }
        return HRESULT{VFW_E_NOT_FOUND};
    });
}

HRESULT BaseFilter::QueryFilterInfo(FILTER_INFO* info) {
    if (info == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] {
        const std::lock_guard lock(leafLock_);
        const std::size_t length = std::min<std::size_t>(name_.size(), MAX_FILTER_NAME - 1);
        *std::copy_n(name_.begin(), length, info->achName) = L'\0';
        info->pGraph = ComPtr<IFilterGraph>(graph_).Detach();
        return S_OK;
    });
}

HRESULT BaseFilter::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    return Guarded([&] {
        std::wstring newName(graph != nullptr && name != nullptr ? name : L"");
        const std::lock_guard filter(filterLock_);
        IMediaEventSink* sink = nullptr;
        if (graph != nullptr && SUCCEEDED(graph->QueryInterface(IID_PPV_ARGS(&sink)))) {
            sink->Release(); // the graph outlives our membership; a reference would be a circle
        }
        // Let go after the lock; it may be this filter, which would then hold itself.
        ComPtr<IReferenceClock> oldClock;
        const std::lock_guard lock(leafLock_);
        if (graph == nullptr) {
            oldClock.Swap(clock_);
        }
        graph_ = graph;
        eventSink_ = sink;
        name_.swap(newName);
        return S_OK;
    });
}

HRESULT BaseFilter::QueryVendorInfo(LPWSTR* /*info*/) {
    return E_NOTIMPL; // the documented answer of a filter without vendor text
}

void BaseFilter::TakePin(std::unique_ptr<BasePin> pin) {
    const std::lock_guard lock(leafLock_);
    pins_.push_back(std::move(pin));
}

void BaseFilter::RetirePin(const BasePin& pin) {
    const std::lock_guard lock(leafLock_);
    const auto found = std::ranges::find(pins_, &pin, &std::unique_ptr<BasePin>::get);
    if (found != pins_.end()) {
        retiredPins_.push_back(std::move(*found));
        pins_.erase(found);
    }
}

BasePin* BaseFilter::PinAt(std::size_t index) const {
    const std::lock_guard lock(leafLock_);
    return index < pins_.size() ? pins_[index].get() : nullptr;
}

} // namespace vistrame
