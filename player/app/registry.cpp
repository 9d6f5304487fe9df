#include "player/app/registry.h"

namespace vistrame {
namespace {

// Fills at most `size` bytes when the value exists, fits and has one of the types that `types` (RRF_RT_...)
// allows; `size` tells how many then.
bool ReadValue(HKEY root, const char* key, const char* value, DWORD types, void* data, DWORD& size) {
    HKEY opened = nullptr;
    if (RegOpenKeyExA(root, key, 0, KEY_READ, &opened) != ERROR_SUCCESS &&
        RegOpenKeyExA(root, key, 0, KEY_READ | KEY_WOW64_64KEY, &opened) != ERROR_SUCCESS) {
        return false;
    }
    const LSTATUS status = RegGetValueA(opened, nullptr, value, types, nullptr, data, &size);
    RegCloseKey(opened);
    return status == ERROR_SUCCESS;
}

} // namespace

std::uint32_t ReadRegistryDword(HKEY root, const char* key, const char* value) {
    DWORD number = 0;
    DWORD read = sizeof number;
    const bool complete =
        ReadValue(root, key, value, RRF_RT_REG_DWORD, &number, read) && read == sizeof number;
    return complete ? number : 0;
}

bool ReadRegistryString(HKEY root, const char* key, const char* value, char* buffer, std::uint32_t size) {
    DWORD read = size;
    // The system's reader also terminates a string that was stored without its zero.
    return ReadValue(root, key, value, RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, buffer, read);
}

} // namespace vistrame
