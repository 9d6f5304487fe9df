// The registry keys of classes, in one scope. All names are below the scope's "Software\\Classes".
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include <windows.h>

#include "filters/server/registration.h"

namespace vistrame {

// "CLSID\{...}"
std::wstring ClassKey(const CLSID& id);

class ClassKeys {
public:
    explicit ClassKeys(Scope scope)
        : root_(scope == Scope::Everybody ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER) {}

    // Both make the key. A null name is the key's default value.
    HRESULT SetText(const std::wstring& key, const wchar_t* name, const std::wstring& value) const;
    HRESULT SetBytes(const std::wstring& key, const wchar_t* name, std::span<const std::byte> value) const;

    bool Exists(const std::wstring& key) const;
    bool HasText(const std::wstring& key, const wchar_t* name, const std::wstring& value) const;

    // With everything below it; a key that is not there is no failure.
    HRESULT Remove(const std::wstring& key) const;
    // The key and those above it, as far as they hold nothing at all any more.
    void RemoveEmpty(std::wstring key) const;

private:
    HRESULT Set(const std::wstring& key, const wchar_t* name, DWORD type,
                std::span<const std::byte> value) const;

    HKEY root_;
};

} // namespace vistrame
