#pragma once

// What COM methods answer. Where there is no Windows, the few answers of what is built there too.
#ifdef _WIN32

#include <windows.h>

#else

#include <cstdint>

using HRESULT = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFU);

constexpr bool FAILED(HRESULT result) {
    return result < 0;
}

#endif
