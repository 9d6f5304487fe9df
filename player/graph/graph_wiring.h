#pragma once

#include <cstdint>

#include <windows.h>
#include <dshow.h>
#include <wrl/client.h>

#include "player/graph/build_errors.h"
#include "player/graph/player_graph.h"

namespace vistrame {

// What every step of a build does to the graph: add a filter, connect two pins, choose the clock, report.
//
// Threads    main thread, inside BuildGraph.
// Errors     failures of the graph itself are ignored: one with a gap in it shows or plays less.
class GraphWiring {
public:
    using Filter = Microsoft::WRL::ComPtr<IBaseFilter>;
    using Pin = Microsoft::WRL::ComPtr<IPin>;

    GraphWiring(PlayerGraph& player, HWND ownerWindow) : player_(player), ownerWindow_(ownerWindow) {}

    [[nodiscard]] PlayerGraph& Player() const { return player_; }
    [[nodiscard]] HWND OwnerWindow() const { return ownerWindow_; }

    void Add(const Filter& filter, const wchar_t* name) const;

    // Null pins are left alone; `type` may be null.
    void Connect(const Pin& from, const Pin& to, const AM_MEDIA_TYPE* type = nullptr) const;

    // Makes the filter's clock the graph's when ClockSource asks for this one and there is a clock.
    void LetBeClock(const Filter& filter, std::int32_t source) const;

    // Always false, so that a step can end with it.
    static bool Report(const BuildError& error);

private:
    PlayerGraph& player_;
    HWND ownerWindow_;
};

} // namespace vistrame
