#include "graphview/graph_record.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "graphview/media_type_text.h"
#include "player/graph/com.h"

namespace vistrame {
namespace {

using Microsoft::WRL::ComPtr;

struct Found {
    ComPtr<IBaseFilter> filter;
    std::vector<ComPtr<IPin>> pins;
};

std::vector<Found> FindFilters(IGraphBuilder& graph) {
    std::vector<Found> all;
    ComPtr<IEnumFilters> filters;
    if (FAILED(graph.EnumFilters(filters.GetAddressOf()))) {
        return all;
    }
    ComPtr<IBaseFilter> filter;
    while (filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        Found found{filter, {}};
        ComPtr<IEnumPins> pins;
        ComPtr<IPin> pin;
        if (SUCCEEDED(filter->EnumPins(pins.GetAddressOf()))) {
            while (pins->Next(1, pin.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
                found.pins.push_back(pin);
            }
        }
        all.push_back(std::move(found));
    }
    std::ranges::reverse(all); // a graph names the last added first
    return all;
}

std::string StateOf(IBaseFilter& filter) {
    FILTER_STATE state = State_Stopped;
    const HRESULT result = filter.GetState(0, &state);
    if (FAILED(result)) {
        return "no state";
    }
    const std::string name = state == State_Stopped  ? "stopped"
                             : state == State_Paused ? "paused"
                                                     : "running";
    return result == VFW_S_STATE_INTERMEDIATE ? "on the way to " + name : name;
}

std::string AllocatorOf(IPin* pin) {
    const auto input = Query<IMemInputPin>(pin);
    ComPtr<IMemAllocator> allocator;
    ALLOCATOR_PROPERTIES size{};
    if (!input || FAILED(input->GetAllocator(allocator.GetAddressOf())) ||
        FAILED(allocator->GetProperties(&size))) {
        return {};
    }
    std::array<char, 96> text{};
    (void)std::snprintf(text.data(), text.size(), "%ld x %ld bytes%s", size.cBuffers, size.cbBuffer,
                        size.cbPrefix != 0 ? ", with a prefix" : "");
    return text.data();
}

std::optional<PinRecord::Place> PlaceOf(const std::vector<Found>& all, const ComPtr<IPin>& wanted) {
    for (std::size_t filter = 0; filter < all.size(); ++filter) {
        for (std::size_t pin = 0; pin < all[filter].pins.size(); ++pin) {
            if (all[filter].pins[pin].Get() == wanted.Get()) {
                return PinRecord::Place{filter, pin};
            }
        }
    }
    return std::nullopt;
}

PinRecord RecordPin(IPin* pin, const std::vector<Found>& all, const SampleCounts& counts) {
    PinRecord record;
    PIN_INFO info{};
    if (SUCCEEDED(pin->QueryPinInfo(&info))) {
        record.name = Utf8(info.achName);
        record.output = info.dir == PINDIR_OUTPUT;
        if (info.pFilter != nullptr) {
            info.pFilter->Release();
        }
    }
    ComPtr<IPin> peer;
    if (FAILED(pin->ConnectedTo(peer.GetAddressOf())) || !peer) {
        return record;
    }
    record.peer = PlaceOf(all, peer);
    AM_MEDIA_TYPE type{};
    if (SUCCEEDED(pin->ConnectionMediaType(&type))) {
        record.type = Describe(type);
        CoTaskMemFree(type.pbFormat);
    }
    if (!record.output) {
        record.allocator = AllocatorOf(pin);
        record.samples = counts.Of(pin);
    }
    return record;
}

bool IsClockOf(IGraphBuilder& graph, const ComPtr<IBaseFilter>& filter) {
    ComPtr<IReferenceClock> clock;
    const auto media = Query<IMediaFilter>(&graph);
    // One object or not: by its identity, as interfaces of one may differ.
    return media && SUCCEEDED(media->GetSyncSource(clock.GetAddressOf())) && clock &&
           Query<IUnknown>(clock).Get() == Query<IUnknown>(filter).Get();
}

} // namespace

GraphRecord RecordGraph(IGraphBuilder& graph, const SampleCounts& counts) {
    GraphRecord record;
    const std::vector<Found> all = FindFilters(graph);
    for (const Found& found : all) {
        FilterRecord& filter = record.emplace_back();
        FILTER_INFO info{};
        if (SUCCEEDED(found.filter->QueryFilterInfo(&info))) {
            filter.name = Utf8(info.achName);
            if (info.pGraph != nullptr) {
                info.pGraph->Release();
            }
        }
        CLSID id{};
        if (SUCCEEDED(found.filter->GetClassID(&id))) {
            filter.classId = GuidText(id);
        }
        filter.state = StateOf(*found.filter.Get());
        filter.clock = IsClockOf(graph, found.filter);
        for (const auto& pin : found.pins) {
            filter.pins.push_back(RecordPin(pin.Get(), all, counts));
        }
    }
    return record;
}

} // namespace vistrame
