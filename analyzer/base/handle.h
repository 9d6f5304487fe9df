#pragma once

#include <memory>

#include <windows.h>

namespace vistrame {

struct HandleCloser {
    using pointer = HANDLE;
    // Nothing is left to do about a failure.
    void operator()(HANDLE handle) const { (void)CloseHandle(handle); }
};
// Owns a kernel handle; null is none (INVALID_HANDLE_VALUE is not stored).
using Handle = std::unique_ptr<void, HandleCloser>;

inline Handle AdoptHandle(HANDLE handle) {
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

inline bool IsSignalled(HANDLE handle) {
    return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0;
}

} // namespace vistrame
