#include "filters/server/class_keys.h"

#include <array>

#include <objbase.h>

namespace vistrame {

namespace {

// Not HKEY_CLASSES_ROOT, which is both scopes laid over each other: what is written there lands in one or the
// other by what is there already.
const std::wstring kClasses = L"Software\\Classes\\";

HRESULT ResultOf(LSTATUS status) {
    return HRESULT_FROM_WIN32(static_cast<DWORD>(status));
}

} // namespace

std::wstring ClassKey(const CLSID& id) {
    std::array<wchar_t, 39> text{}; // braces, 32 digits, 4 dashes and the end
    (void)StringFromGUID2(id, text.data(), static_cast<int>(text.size())); // cannot fail: the buffer fits
    return std::wstring(L"CLSID\\") + text.data();
}

HRESULT ClassKeys::Set(const std::wstring& key, const wchar_t* name, DWORD type,
                       std::span<const std::byte> value) const {
    return ResultOf(RegSetKeyValueW(root_, (kClasses + key).c_str(), name, type, value.data(),
                                    static_cast<DWORD>(value.size())));
}

HRESULT ClassKeys::SetText(const std::wstring& key, const wchar_t* name, const std::wstring& value) const {
    return Set(key, name, REG_SZ, std::as_bytes(std::span(value.c_str(), value.size() + 1)));
}

HRESULT ClassKeys::SetBytes(const std::wstring& key, const wchar_t* name,
                            std::span<const std::byte> value) const {
    return Set(key, name, REG_BINARY, value);
}

bool ClassKeys::Exists(const std::wstring& key) const {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(root_, (kClasses + key).c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(handle);
    return true;
}

bool ClassKeys::HasText(const std::wstring& key, const wchar_t* name, const std::wstring& value) const {
    std::array<wchar_t, 32> found{}; // a longer text is not the one asked for
    DWORD bytes = sizeof(found);
    return RegGetValueW(root_, (kClasses + key).c_str(), name, RRF_RT_REG_SZ, nullptr, found.data(),
                        &bytes) == ERROR_SUCCESS &&
           found.data() == value;
}

HRESULT ClassKeys::Remove(const std::wstring& key) const {
    const LSTATUS status = RegDeleteTreeW(root_, (kClasses + key).c_str());
    return status == ERROR_FILE_NOT_FOUND ? S_OK : ResultOf(status);
}

void ClassKeys::RemoveEmpty(std::wstring key) const {
    while (true) {
        const std::wstring path = kClasses + key;
        HKEY handle = nullptr;
        if (RegOpenKeyExW(root_, path.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
            return;
        }
        DWORD keys = 0;
        DWORD values = 0;
        const LSTATUS status = RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                                &values, nullptr, nullptr, nullptr, nullptr);
        RegCloseKey(handle);
        if (status != ERROR_SUCCESS || keys + values != 0 ||
            RegDeleteKeyW(root_, path.c_str()) != ERROR_SUCCESS) {
            return;
        }
        const std::size_t parent = key.rfind(L'\\');
        if (parent == std::wstring::npos) {
            return;
        }
        key.resize(parent);
    }
}

} // namespace vistrame
