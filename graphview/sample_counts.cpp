#include "graphview/sample_counts.h"

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

#include "player/graph/com.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;
using ReceiveMethod = HRESULT(STDMETHODCALLTYPE*)(IMemInputPin*, IMediaSample*);
using ReceiveManyMethod = HRESULT(STDMETHODCALLTYPE*)(IMemInputPin*, IMediaSample**, long, long*);

// Places of the methods in the interface.
constexpr std::size_t kReceive = 6, kReceiveMultiple = 7;

struct RealMethods {
    ReceiveMethod receive;
    ReceiveManyMethod receiveMany;
};

std::mutex watchedLock;                // guards what can grow; counts are changed without it
std::map<void**, RealMethods> classes; // by their tables of methods
std::map<IMemInputPin*, std::atomic<std::uint64_t>> pins;

void** TableOf(IMemInputPin* pin) {
    return *reinterpret_cast<void***>(pin);
}

RealMethods Count(IMemInputPin* pin, long samples) {
    const std::lock_guard guard(watchedLock);
    if (const auto watched = pins.find(pin); watched != pins.end()) {
        watched->second += static_cast<std::uint64_t>(samples);
    }
    return classes.at(TableOf(pin));
}

HRESULT STDMETHODCALLTYPE Receive(IMemInputPin* pin, IMediaSample* sample) {
    return Count(pin, 1).receive(pin, sample);
}

HRESULT STDMETHODCALLTYPE ReceiveMultiple(IMemInputPin* pin, IMediaSample** samples, long count,
                                          long* taken) {
    // Many filters hand each on to their own Receive, which counts then.
    return Count(pin, 0).receiveMany(pin, samples, count, taken);
}

void* Replace(void** table, std::size_t place, void* method) {
    DWORD earlier = 0;
    if (!VirtualProtect(table + place, sizeof(void*), PAGE_EXECUTE_READWRITE, &earlier)) {
        return table[place];
    }
    void* const real = std::exchange(table[place], method);
    (void)VirtualProtect(table + place, sizeof(void*), earlier, &earlier);
    return real;
}

void WatchPin(IPin* pin) {
    ComPtr<IPin> peer;
    PIN_DIRECTION direction = PINDIR_OUTPUT;
    const auto input = Query<IMemInputPin>(pin);
    if (!input || FAILED(pin->QueryDirection(&direction)) || direction != PINDIR_INPUT ||
        FAILED(pin->ConnectedTo(peer.GetAddressOf()))) {
        return;
    }
    const std::lock_guard guard(watchedLock);
    pins[input.Get()];
    void** const table = TableOf(input.Get());
    if (!classes.contains(table)) {
        classes[table] = {reinterpret_cast<ReceiveMethod>(table[kReceive]),
                          reinterpret_cast<ReceiveManyMethod>(table[kReceiveMultiple])};
        (void)Replace(table, kReceive, reinterpret_cast<void*>(Receive));
        (void)Replace(table, kReceiveMultiple, reinterpret_cast<void*>(ReceiveMultiple));
    }
}

} // namespace

void SampleCounts::Watch(IGraphBuilder& graph) {
    ComPtr<IEnumFilters> filters;
    ComPtr<IBaseFilter> filter;
    if (FAILED(graph.EnumFilters(filters.GetAddressOf()))) {
        return;
    }
    while (filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        ComPtr<IEnumPins> all;
        ComPtr<IPin> pin;
        if (SUCCEEDED(filter->EnumPins(all.GetAddressOf()))) {
            while (all->Next(1, pin.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
                WatchPin(pin.Get());
            }
        }
    }
}

std::optional<std::uint64_t> SampleCounts::Of(IPin* input) const {
    const auto pin = Query<IMemInputPin>(input);
    const std::lock_guard guard(watchedLock);
    const auto watched = pins.find(pin.Get());
    return watched != pins.end() ? std::optional(watched->second.load()) : std::nullopt;
}

} // namespace vistrame
