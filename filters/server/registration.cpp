#include "filters/server/registration.h"

#include <array>
#include <vector>

#include "filters/base/com_object.h"

namespace vistrame {

namespace {

constexpr const wchar_t* kOwnerValue = L"RegisteredBy";
constexpr const wchar_t* kOwner = L"Vistrame";

std::wstring ClassKey(const CLSID& id) {
    std::array<wchar_t, 39> text{}; // braces, 32 digits, 4 dashes and the end
    (void)StringFromGUID2(id, text.data(), static_cast<int>(text.size())); // cannot fail: the buffer fits
    return std::wstring(L"CLSID\\") + text.data();
}

// One value of a key below HKEY_CLASSES_ROOT; makes the key. A null name is the key's default value.
HRESULT SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    const std::size_t bytes = (value.size() + 1) * sizeof(wchar_t);
    return HRESULT_FROM_WIN32(static_cast<DWORD>(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ,
                                                                 value.c_str(), static_cast<DWORD>(bytes))));
}

bool KeyExists(const std::wstring& key) {
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(handle);
    return true;
}

bool IsOurs(const std::wstring& key) {
    std::array<wchar_t, 32> owner{};
    DWORD bytes = sizeof(owner);
    return RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), kOwnerValue, RRF_RT_REG_SZ, nullptr, owner.data(),
                        &bytes) == ERROR_SUCCESS &&
           owner.data() == std::wstring_view(kOwner);
}

HRESULT WriteClass(const ClassRow& row, const std::wstring& path) {
    const std::wstring key = ClassKey(*row.id);
    const std::wstring server = key + L"\\InprocServer32";
    // The mark first: what a failure leaves behind is then known as ours.
    HRESULT result = SetValue(key, kOwnerValue, kOwner);
    if (SUCCEEDED(result)) {
        result = SetValue(key, nullptr, row.name);
    }
    if (SUCCEEDED(result)) {
        result = SetValue(server, nullptr, path);
    }
    return SUCCEEDED(result) ? SetValue(server, L"ThreadingModel", L"Both") : result;
}

HRESULT WriteMapperEntry(IFilterMapper2* mapper, const ClassRow& row) {
    std::vector<REGFILTERPINS2> pins;
    for (const PinRow& pin : row.pins) {
        REGFILTERPINS2& entry = pins.emplace_back();
        entry.dwFlags = pin.output ? REG_PINFLAG_B_OUTPUT : 0;
        entry.cInstances = 1;
        entry.nMediaTypes = static_cast<UINT>(pin.types.size());
        entry.lpMediaType = pin.types.data();
    }
    REGFILTER2 filter{};
    filter.dwVersion = 2;
    filter.dwMerit = row.merit;
    filter.cPins2 = static_cast<ULONG>(pins.size());
    filter.rgPins2 = pins.data();
    return mapper->RegisterFilter(*row.id, row.name, nullptr, &CLSID_LegacyAmFilterCategory, nullptr,
                                  &filter);
}

HRESULT MakeMapper(ComPtr<IFilterMapper2>* mapper) {
    return CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                            IID_PPV_ARGS(mapper->ReleaseAndGetAddressOf()));
}

HRESULT RegisterRow(IFilterMapper2* mapper, const ClassRow& row, const std::wstring& path) {
    const std::wstring key = ClassKey(*row.id);
    if (row.standIn && KeyExists(key) && !IsOurs(key)) {
        return S_FALSE; // the platform's own stays in charge
    }
    const HRESULT result = WriteClass(row, path);
    return SUCCEEDED(result) && !row.pins.empty() ? WriteMapperEntry(mapper, row) : result;
}

} // namespace

HRESULT RegisterClasses(std::span<const ClassRow> rows, const std::wstring& path) {
    ComPtr<IFilterMapper2> mapper;
    HRESULT result = MakeMapper(&mapper);
    for (auto row = rows.begin(); SUCCEEDED(result) && row != rows.end(); ++row) {
        result = RegisterRow(mapper.Get(), *row, path);
    }
    if (FAILED(result)) {
        (void)UnregisterClasses(rows); // as far as it goes: the first failure is what is reported
        return result;
    }
    return S_OK;
}

HRESULT UnregisterClasses(std::span<const ClassRow> rows) {
    ComPtr<IFilterMapper2> mapper;
    HRESULT first = MakeMapper(&mapper);
    for (const ClassRow& row : rows) {
        const std::wstring key = ClassKey(*row.id);
        if (!IsOurs(key)) {
            continue;
        }
        if (mapper != nullptr && !row.pins.empty()) {
            // Fails where the entry was never written; the class key below is what counts.
            (void)mapper->UnregisterFilter(&CLSID_LegacyAmFilterCategory, nullptr, *row.id);
        }
        const LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
        if (SUCCEEDED(first) && status != ERROR_SUCCESS) {
            first = HRESULT_FROM_WIN32(static_cast<DWORD>(status));
        }
    }
    return first;
}

} // namespace vistrame
