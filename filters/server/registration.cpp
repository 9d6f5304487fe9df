#include "filters/server/registration.h"

#include <algorithm>
#include <array>

#include "filters/server/class_keys.h"
#include "filters/server/mapper_entry.h"

namespace vistrame {

namespace {

constexpr const wchar_t* kOwnerValue = L"RegisteredBy";
constexpr const wchar_t* kOwner = L"Vistrame";

bool IsOurs(const ClassKeys& keys, const std::wstring& key) {
    return keys.HasText(key, kOwnerValue, kOwner);
}

// Whether somebody else has the class, for whomever.
bool IsAnothers(const std::wstring& key) {
    return std::ranges::any_of(std::array{Scope::Everybody, Scope::CurrentUser}, [&](Scope scope) {
        const ClassKeys keys(scope);
        return keys.Exists(key) && !IsOurs(keys, key);
    });
}

HRESULT WriteClass(const ClassKeys& keys, const ClassRow& row, const std::wstring& path) {
    const std::wstring key = ClassKey(*row.id);
    const std::wstring server = key + L"\\InprocServer32";
    // The mark first: what a failure leaves behind is then known as ours.
    HRESULT result = keys.SetText(key, kOwnerValue, kOwner);
    if (SUCCEEDED(result)) {
        result = keys.SetText(key, nullptr, row.name);
    }
    if (SUCCEEDED(result)) {
        result = keys.SetText(server, nullptr, path);
    }
    return SUCCEEDED(result) ? keys.SetText(server, L"ThreadingModel", L"Both") : result;
}

HRESULT RegisterRow(const ClassKeys& keys, const ClassRow& row, const std::wstring& path) {
    if (row.standIn && IsAnothers(ClassKey(*row.id))) {
        return S_FALSE; // the platform's own stays in charge
    }
    const HRESULT result = WriteClass(keys, row, path);
    return SUCCEEDED(result) && !row.pins.empty() ? WriteMapperEntry(keys, row) : result;
}

} // namespace

HRESULT RegisterClasses(std::span<const ClassRow> rows, const std::wstring& path, Scope scope) {
    const ClassKeys keys(scope);
    HRESULT result = S_OK;
    for (auto row = rows.begin(); SUCCEEDED(result) && row != rows.end(); ++row) {
        result = RegisterRow(keys, *row, path);
    }
    if (FAILED(result)) {
        (void)UnregisterClasses(rows, scope); // as far as it goes: the first failure is what is reported
        return result;
    }
    return S_OK;
}

HRESULT UnregisterClasses(std::span<const ClassRow> rows, Scope scope) {
    const ClassKeys keys(scope);
    HRESULT first = S_OK;
    const auto note = [&](HRESULT result) {
        if (SUCCEEDED(first)) {
            first = result;
        }
    };
    for (const ClassRow& row : rows) {
        const std::wstring key = ClassKey(*row.id);
        if (!IsOurs(keys, key)) {
            continue;
        }
        // Nobody misses the class any more once its entry is gone, so that comes first.
        if (!row.pins.empty()) {
            note(RemoveMapperEntry(keys, row));
        }
        note(keys.Remove(key));
    }
    keys.RemoveEmpty(L"CLSID");
    return first;
}

} // namespace vistrame
