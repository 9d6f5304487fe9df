// Registering the server in a registry of the test session's own.
#include <array>
#include <string>

#include <windows.h>
#include <bdaiface.h>

#include "filters/decoders/stream_types.h"
#include "filters/server/registration.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

// As regsvr32 does it.
HRESULT Call(const char* name) {
    const HMODULE server = LoadServer();
    using Entry = HRESULT(STDAPICALLTYPE*)();
    const auto entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(server, name)));
    const HRESULT result = entry != nullptr ? entry() : E_NOINTERFACE;
    FreeLibrary(server);
    return result;
}
std::wstring KeyOf(const CLSID& id) {
    std::array<wchar_t, 39> text{};
    StringFromGUID2(id, text.data(), 39);
    return std::wstring(L"CLSID\\") + text.data();
}

bool Exists(const std::wstring& key) {
    HKEY handle = nullptr;
    return RegOpenKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ, &handle) == ERROR_SUCCESS &&
           RegCloseKey(handle) == ERROR_SUCCESS;
}

// The filter mapper's entry of a class.
std::wstring MapperKeyOf(const CLSID& id) {
    return KeyOf(CLSID_LegacyAmFilterCategory) + L"\\Instance\\" + KeyOf(id).substr(6);
}

// Whether automatic choice finds the video decoder for this coding.
bool DecodesByMapper(const GUID& subtype) {
    ComPtr<IFilterMapper2> mapper;
    ComPtr<IEnumMoniker> found;
    const GUID types[] = {MEDIATYPE_Video, subtype};
    EXPECT_EQ(CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&mapper)),
              S_OK);
    EXPECT_HRESULT_SUCCEEDED(mapper->EnumMatchingFilters(&found, 0, TRUE, MERIT_DO_NOT_USE + 1, TRUE, 1,
                                                         types, nullptr, nullptr, FALSE, TRUE, 0, nullptr,
                                                         nullptr, nullptr));
    ComPtr<IMoniker> moniker;
    while (found != nullptr && found->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        ComPtr<IBaseFilter> filter;
        CLSID id{};
        if (SUCCEEDED(moniker->BindToObject(nullptr, nullptr, __uuidof(IBaseFilter),
                                            reinterpret_cast<void**>(filter.GetAddressOf()))) &&
            filter->GetClassID(&id) == S_OK && id == CLSID_VistrameVideoDecoder) {
            return true;
        }
    }
    return false;
}

} // namespace

// Rows with pins go into the filter mapper; the makers' filters have none and must not be found by automatic
// choice.
TEST(Registration, MakesEveryClassAndLeavesNoKeyBehind) {
    const CoInitialized com;
    ASSERT_EQ(Call("DllRegisterServer"), S_OK);
    ASSERT_EQ(Call("DllRegisterServer"), S_OK) << "again, as an update would";
    for (const ClassRow& row : Classes()) {
        SCOPED_TRACE(testing::Message() << row.name);
        ComPtr<IBaseFilter> filter;
        EXPECT_EQ(CoCreateInstance(*row.id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&filter)), S_OK);
        EXPECT_EQ(Exists(MapperKeyOf(*row.id)), !row.pins.empty());
    }
    EXPECT_TRUE(DecodesByMapper(FourCcSubtype("H264")));
    EXPECT_FALSE(DecodesByMapper(FourCcSubtype("AVC1")) || DecodesByMapper(FourCcSubtype("avc1")))
        << "another program would connect it and see nothing";
    CoFreeUnusedLibraries();
    ASSERT_EQ(Call("DllUnregisterServer"), S_OK);
    for (const ClassRow& row : Classes()) {
        EXPECT_FALSE(Exists(KeyOf(*row.id)) || Exists(MapperKeyOf(*row.id))) << row.name;
    }
    EXPECT_EQ(Call("DllUnregisterServer"), S_OK) << "nothing left to do is no failure";
}

TEST(Registration, ThePlatformsOwnClassStaysInCharge) {
    const CoInitialized com;
    const std::wstring key = KeyOf(CLSID_MPEG2Demultiplexer);
    const std::wstring path = L"C:\\platform.dll";
    ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, (key + L"\\InprocServer32").c_str(), nullptr, REG_SZ,
                              path.c_str(), static_cast<DWORD>(path.size() * 2 + 2)),
              ERROR_SUCCESS);
    for (const char* step : {"DllRegisterServer", "DllUnregisterServer"}) {
        ASSERT_EQ(Call(step), S_OK);
        std::array<wchar_t, MAX_PATH> value{};
        DWORD bytes = sizeof(value);
        ASSERT_EQ(RegGetValueW(HKEY_CLASSES_ROOT, (key + L"\\InprocServer32").c_str(), nullptr, RRF_RT_REG_SZ,
                               nullptr, value.data(), &bytes),
                  ERROR_SUCCESS);
        EXPECT_EQ(value.data(), path);
    }
    EXPECT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str()), ERROR_SUCCESS);
}

} // namespace vistrame::test
