// Ways to get hold of a filter's pin. Each answers null for a null filter and for a pin that is not there.
#pragma once

#include <array>

#include <windows.h>
#include <dshow.h>
#include <wrl/client.h>

namespace vistrame {

inline constexpr ULONG kMaxPins = 10; // pins looked at per filter

// The filter's first pins in enumeration order; null from where they end.
std::array<Microsoft::WRL::ComPtr<IPin>, kMaxPins> FirstPins(
    const Microsoft::WRL::ComPtr<IBaseFilter>& filter);

// By the pin's identifier, which for the filters used here is the name that graph viewers show.
Microsoft::WRL::ComPtr<IPin> FindPin(const Microsoft::WRL::ComPtr<IBaseFilter>& filter, const wchar_t* name);

// The `index`-th pin, from 0, among those of one direction.
Microsoft::WRL::ComPtr<IPin> GetPinByDirection(const Microsoft::WRL::ComPtr<IBaseFilter>& filter,
                                               PIN_DIRECTION direction, ULONG index);

} // namespace vistrame
