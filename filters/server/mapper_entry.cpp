#include "filters/server/mapper_entry.h"

#include <memory>
#include <vector>

#include "filters/base/com_object.h"

// The filter mapper's other interface: turns the description of a filter into what the registry holds of it,
// and back. This compiler's headers lack it.
struct IAMFilterData : public IUnknown {
    virtual HRESULT STDMETHODCALLTYPE ParseFilterData(BYTE* data, ULONG bytes, BYTE** filter) = 0;
    // The caller frees the data with CoTaskMemFree.
    virtual HRESULT STDMETHODCALLTYPE CreateFilterData(REGFILTER2* filter, BYTE** data, ULONG* bytes) = 0;
};
__CRT_UUID_DECL(IAMFilterData, 0x97f7c4d4, 0x547b, 0x4a5f, 0x83, 0x32, 0x53, 0x64, 0x30, 0xad, 0x2e, 0x4d)

namespace vistrame {

namespace {

std::wstring InstanceKey(const ClassRow& row) {
    return ClassKey(CLSID_LegacyAmFilterCategory) + L"\\Instance\\" + ClassKey(*row.id).substr(6); // "CLSID\"
}

struct FreeTaskMemory {
    void operator()(void* memory) const { CoTaskMemFree(memory); }
};

// Merit, pins and media types, as the registry holds them.
HRESULT MakeFilterData(const ClassRow& row, std::vector<std::byte>* made) {
    ComPtr<IAMFilterData> mapper;
    const HRESULT found = CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER,
                                           IID_PPV_ARGS(mapper.GetAddressOf()));
    if (FAILED(found)) {
        return found;
    }
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
    BYTE* data = nullptr;
    ULONG bytes = 0;
    const HRESULT result = mapper->CreateFilterData(&filter, &data, &bytes);
    const std::unique_ptr<BYTE, FreeTaskMemory> owned(data);
    if (SUCCEEDED(result)) {
        const auto all = std::as_bytes(std::span(data, bytes));
        made->assign(all.begin(), all.end());
    }
    return result;
}

} // namespace

HRESULT WriteMapperEntry(const ClassKeys& keys, const ClassRow& row) {
    std::vector<std::byte> data;
    const std::wstring key = InstanceKey(row);
    HRESULT result = MakeFilterData(row, &data);
    if (SUCCEEDED(result)) {
        result = keys.SetText(key, L"CLSID", ClassKey(*row.id).substr(6));
    }
    if (SUCCEEDED(result)) {
        result = keys.SetText(key, L"FriendlyName", row.name);
    }
    return SUCCEEDED(result) ? keys.SetBytes(key, L"FilterData", data) : result;
}

HRESULT RemoveMapperEntry(const ClassKeys& keys, const ClassRow& row) {
    const std::wstring key = InstanceKey(row);
    const HRESULT result = keys.Remove(key);
    keys.RemoveEmpty(key.substr(0, key.rfind(L'\\')));
    return result;
}

} // namespace vistrame
