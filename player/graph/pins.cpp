#include "player/graph/pins.h"

namespace vistrame {

using Microsoft::WRL::ComPtr;

std::array<ComPtr<IPin>, kMaxPins> FirstPins(const ComPtr<IBaseFilter>& filter) {
    std::array<ComPtr<IPin>, kMaxPins> pins;
    ComPtr<IEnumPins> enumerator;
    if (!filter || FAILED(filter->EnumPins(enumerator.GetAddressOf())) || !enumerator) {
        return pins;
    }
    std::array<IPin*, kMaxPins> fetched{};
    ULONG count = 0;
    (void)enumerator->Next(kMaxPins, fetched.data(), &count); // S_FALSE: fewer than asked for
    for (ULONG i = 0; i < count; ++i) {
        *pins[i].GetAddressOf() = fetched[i]; // adopts the enumerator's reference
    }
    return pins;
}

ComPtr<IPin> FindPin(const ComPtr<IBaseFilter>& filter, const wchar_t* name) {
    ComPtr<IPin> pin;
    if (filter) {
        (void)filter->FindPin(name, pin.GetAddressOf());
    }
    return pin;
}

ComPtr<IPin> GetPinByDirection(const ComPtr<IBaseFilter>& filter, PIN_DIRECTION direction, ULONG index) {
    for (const ComPtr<IPin>& pin : FirstPins(filter)) {
        PIN_DIRECTION found{};
        if (!pin || FAILED(pin->QueryDirection(&found)) || found != direction) {
            continue;
        }
        if (index == 0) {
            return pin;
        }
        --index;
    }
    return nullptr;
}

} // namespace vistrame
