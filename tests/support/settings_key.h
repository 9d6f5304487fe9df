#pragma once

#include <string>

#include <windows.h>

#include "contract/settings.h"

namespace vistrame::test {

// The player's settings in the real registry: empty at first, gone at the end of the scope.
class SettingsKey {
public:
    SettingsKey() {
        RegDeleteTreeA(HKEY_CURRENT_USER, kSettingsKey);
        RegCreateKeyExA(HKEY_CURRENT_USER, kSettingsKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_,
                        nullptr);
    }
    SettingsKey(const SettingsKey&) = delete;
    SettingsKey& operator=(const SettingsKey&) = delete;
    ~SettingsKey() {
        RegCloseKey(key_);
        RegDeleteTreeA(HKEY_CURRENT_USER, kSettingsKey);
    }

    void Set(const char* name, DWORD number) const { SetRaw(name, REG_DWORD, &number, sizeof number); }
    void Set(const char* name, const std::string& text) const {
        SetRaw(name, REG_SZ, text.c_str(), text.size() + 1);
    }
    void SetRaw(const char* name, DWORD type, const void* data, std::size_t size) const {
        RegSetValueExA(key_, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    }

private:
    HKEY key_ = nullptr;
};

} // namespace vistrame::test
