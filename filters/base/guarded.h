#pragma once

#include <new>

#include "filters/base/result.h"

namespace vistrame {

// Runs the body of a COM method, or one item of a worker's: what it throws becomes its result. Every method
// of ours that may allocate stands inside, since nobody beyond a COM interface or at the bottom of a thread
// catches anything.
template <class Body>
HRESULT Guarded(Body&& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED; // a lock the system would not give; nothing here throws anything else
    }
}

} // namespace vistrame
