// Two small readers of registry values.
//
// Both open the key for reading, once more in the 64-bit view when that fails, and close it after the one
// value.
#pragma once

#include <cstdint>
#include <windows.h>

namespace vistrame {

// 0 on any failure.
std::uint32_t ReadRegistryDword(HKEY root, const char* key, const char* value);

// True only when the value was read; `size` in bytes, terminator included. The buffer is terminated then.
bool ReadRegistryString(HKEY root, const char* key, const char* value, char* buffer, std::uint32_t size);

} // namespace vistrame
