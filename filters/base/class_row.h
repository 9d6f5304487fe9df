#pragma once

#include <span>

#include <windows.h>
#include <dshow.h>

#include "filters/base/class_factory.h"

namespace vistrame {

// What is registered with the filter mapper about one pin.
struct PinRow {
    bool output;
    std::span<const REGPINTYPES> types;
};

// One class of the server. Where a row is registered:
//   always          under its class identifier;
//   pins not empty  in the filter mapper too, with `merit`, so that automatic choice finds it;
//   standIn         only where the class is not registered yet: it stands in for one of the platform's own.
struct ClassRow {
    const CLSID* id;
    const wchar_t* name; // for people
    CreateObject create;
    bool standIn = false;
    DWORD merit = MERIT_DO_NOT_USE;
    std::span<const PinRow> pins = {};
};

} // namespace vistrame
