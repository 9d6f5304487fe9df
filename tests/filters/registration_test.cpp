// Registering the server in a registry of the test session's own.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include <windows.h>
#include <bdaiface.h>

#include "filters/decoders/stream_types.h"
#include "filters/server/registration.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

// As regsvr32 does it, "/n /i:user" where a user is meant.
HRESULT Call(const char* name) {
    const HMODULE server = LoadServer();
    using Entry = HRESULT(STDAPICALLTYPE*)();
    const auto entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(server, name)));
    const HRESULT result = entry != nullptr ? entry() : E_NOINTERFACE;
    FreeLibrary(server);
    return result;
}

HRESULT InstallForUser(BOOL install, const wchar_t* whom = L"user") {
    const HMODULE server = LoadServer();
    using Entry = HRESULT(STDAPICALLTYPE*)(BOOL, const wchar_t*);
    const auto entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(server, "DllInstall")));
    const HRESULT result = entry != nullptr ? entry(install, whom) : E_NOINTERFACE;
    FreeLibrary(server);
    return result;
}

std::wstring KeyOf(const CLSID& id) {
    std::array<wchar_t, 39> text{};
    StringFromGUID2(id, text.data(), 39);
    return std::wstring(L"CLSID\\") + text.data();
}

bool Exists(HKEY root, const std::wstring& key) {
    HKEY handle = nullptr;
    const std::wstring path = L"Software\\Classes\\" + key;
    return RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &handle) == ERROR_SUCCESS &&
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

LSTATUS WINAPI SetValueAsOrdinaryUser(HKEY root, const wchar_t* key, const wchar_t* name, DWORD type,
                                      const void* data, DWORD bytes) {
    return root == HKEY_LOCAL_MACHINE ? ERROR_ACCESS_DENIED
                                      : RegSetKeyValueW(root, key, name, type, data, bytes);
}

// While it lives, the server runs as an ordinary user, whom the registry refuses what is everybody's. Wine's
// registry refuses nobody anything, so it is the server's import that does.
class OrdinaryUser {
public:
    OrdinaryUser() {
        auto* const base = reinterpret_cast<std::uint8_t*>(server_);
        const auto* const dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
        const auto* const headers = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
        const auto& imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
        auto** const slots = reinterpret_cast<void**>(base + imports.VirtualAddress);
        void* const real =
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"advapi32.dll"), "RegSetKeyValueW"));
        slot_ = std::find(slots, slots + imports.Size / sizeof *slots, real);
        Put(reinterpret_cast<void*>(SetValueAsOrdinaryUser));
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        Put(real_);
        FreeLibrary(server_);
    }

private:
    void Put(void* function) {
        DWORD earlier = 0;
        ASSERT_TRUE(VirtualProtect(slot_, sizeof *slot_, PAGE_READWRITE, &earlier));
        real_ = std::exchange(*slot_, function);
    }

    HMODULE server_ = LoadServer();
    void** slot_ = nullptr;
    void* real_ = nullptr;
};

// Every class stands where it has to and can be made; rows with pins stand in the filter mapper's category,
// the makers' filters have none and must not be found by automatic choice. Wine's COM and its mapper look
// only at what is registered for everybody; should that change, this fails.
void ExpectRegisteredIn(HKEY scope) {
    const bool everybody = scope == HKEY_LOCAL_MACHINE;
    for (const ClassRow& row : Classes()) {
        SCOPED_TRACE(testing::Message() << row.name);
        ComPtr<IBaseFilter> filter;
        EXPECT_EQ(CoCreateInstance(*row.id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&filter)),
                  everybody ? S_OK : REGDB_E_CLASSNOTREG);
        for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            EXPECT_EQ(Exists(root, KeyOf(*row.id)), root == scope);
            EXPECT_EQ(Exists(root, MapperKeyOf(*row.id)), root == scope && !row.pins.empty());
        }
    }
    EXPECT_EQ(DecodesByMapper(FourCcSubtype("H264")), everybody);
    EXPECT_FALSE(DecodesByMapper(FourCcSubtype("AVC1")) || DecodesByMapper(FourCcSubtype("avc1")))
        << "another program would connect it and see nothing";
}

} // namespace

TEST(Registration, MakesEveryClassAndLeavesNoKeyBehind) {
    const CoInitialized com;
    const bool categoryOfUser = Exists(HKEY_CURRENT_USER, KeyOf(CLSID_LegacyAmFilterCategory));
    EXPECT_EQ(InstallForUser(TRUE, L"everybody"), E_INVALIDARG);
    {
        const OrdinaryUser user;
        ASSERT_EQ(Call("DllRegisterServer"), S_OK);
        ExpectRegisteredIn(HKEY_CURRENT_USER);
    }
    ASSERT_EQ(Call("DllRegisterServer"), S_OK) << "again, as an update by somebody who may do more";
    ExpectRegisteredIn(HKEY_LOCAL_MACHINE);
    CoFreeUnusedLibraries();
    ASSERT_EQ(Call("DllUnregisterServer"), S_OK);
    ASSERT_EQ(InstallForUser(TRUE), S_OK);
    ExpectRegisteredIn(HKEY_CURRENT_USER);
    CoFreeUnusedLibraries();
    ASSERT_EQ(InstallForUser(FALSE), S_OK);
    for (const ClassRow& row : Classes()) {
        for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            EXPECT_FALSE(Exists(root, KeyOf(*row.id)) || Exists(root, MapperKeyOf(*row.id))) << row.name;
        }
    }
    EXPECT_EQ(Exists(HKEY_CURRENT_USER, KeyOf(CLSID_LegacyAmFilterCategory)), categoryOfUser);
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
