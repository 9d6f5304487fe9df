// Registering the server in a registry of the test session's own.
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>
#include <bdaiface.h>

#include "filters/server/registration.h"
#include "graph/maker_interfaces.h"
#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

namespace {

std::wstring ServerPath() {
    std::array<wchar_t, MAX_PATH> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    return (std::filesystem::path(self.data()).parent_path() / L"../../filters/vistrame.ax")
        .lexically_normal()
        .wstring();
}

// Every key below HKEY_CLASSES_ROOT\CLSID, with the filter mapper's entries, in order.
std::vector<std::wstring> AllKeys(const std::wstring& path = L"CLSID", int depth = 3) {
    std::vector<std::wstring> keys;
    HKEY handle = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return keys;
    }
    std::array<wchar_t, 256> name{};
    for (DWORD i = 0, length = 256;
         RegEnumKeyExW(handle, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i, length = 256) {
        const std::wstring key = path + L"\\" + name.data();
        keys.push_back(key);
        if (depth > 1) {
            const auto below = AllKeys(key, depth - 1);
            keys.insert(keys.end(), below.begin(), below.end());
        }
    }
    RegCloseKey(handle);
    return keys;
}

// The server file as regsvr32 handles it.
class Server {
public:
    Server() : module_(LoadLibraryW(ServerPath().c_str())) { EXPECT_NE(module_, nullptr); }
    ~Server() { FreeLibrary(module_); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    HRESULT Register() const { return Call("DllRegisterServer"); }
    HRESULT Unregister() const { return Call("DllUnregisterServer"); }

private:
    HRESULT Call(const char* name) const {
        using Entry = HRESULT(STDAPICALLTYPE*)();
        const auto entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
        return entry != nullptr ? entry() : E_NOINTERFACE;
    }

    HMODULE module_;
};

bool CanCreate(const CLSID& id) {
    ComPtr<IBaseFilter> filter;
    return SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&filter)));
}

std::wstring KeyOf(const CLSID& id) {
    std::array<wchar_t, 39> text{};
    StringFromGUID2(id, text.data(), 39);
    return std::wstring(L"CLSID\\") + text.data();
}

} // namespace

TEST(Registration, MakesEveryClassAndLeavesNoKeyBehind) {
    const CoInitialized com;
    const std::vector<std::wstring> before = AllKeys();
    const Server server;
    ASSERT_EQ(server.Register(), S_OK);
    ASSERT_EQ(server.Register(), S_OK) << "again, as an update would";
    for (const ClassRow& row : Classes()) {
        EXPECT_TRUE(CanCreate(*row.id)) << KeyOf(*row.id).size();
    }
    CoFreeUnusedLibraries();
    ASSERT_EQ(server.Unregister(), S_OK);
    EXPECT_TRUE(AllKeys() == before);
    EXPECT_EQ(server.Unregister(), S_OK) << "nothing left to do is no failure";
}

TEST(Registration, ThePlatformsOwnClassStaysInCharge) {
    const CoInitialized com;
    const std::wstring key = KeyOf(CLSID_MPEG2Demultiplexer);
    const std::wstring path = L"C:\\platform.dll";
    ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, (key + L"\\InprocServer32").c_str(), nullptr, REG_SZ,
                              path.c_str(), static_cast<DWORD>(path.size() * 2 + 2)),
              ERROR_SUCCESS);
    const Server server;
    for (const auto step : {&Server::Register, &Server::Unregister}) {
        ASSERT_EQ((server.*step)(), S_OK);
        std::array<wchar_t, MAX_PATH> value{};
        DWORD bytes = sizeof(value);
        ASSERT_EQ(RegGetValueW(HKEY_CLASSES_ROOT, (key + L"\\InprocServer32").c_str(), nullptr, RRF_RT_REG_SZ,
                               nullptr, value.data(), &bytes),
                  ERROR_SUCCESS);
        EXPECT_EQ(value.data(), path);
    }
    EXPECT_EQ(RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str()), ERROR_SUCCESS);
}

// Rows with pins go into the filter mapper; the makers' filters have none and must not be found by automatic choice.
TEST(Registration, OnlyRowsWithPinsAreInTheMapper) {
    const CoInitialized com;
    const Server server;
    ASSERT_EQ(server.Register(), S_OK);
    for (const ClassRow& row : Classes()) {
        const std::wstring entry =
            KeyOf(CLSID_LegacyAmFilterCategory) + L"\\Instance\\" + KeyOf(*row.id).substr(6);
        HKEY handle = nullptr;
        const bool found =
            RegOpenKeyExW(HKEY_CLASSES_ROOT, entry.c_str(), 0, KEY_READ, &handle) == ERROR_SUCCESS;
        EXPECT_EQ(found, !row.pins.empty());
        if (found) {
            RegCloseKey(handle);
        }
    }
    ASSERT_EQ(server.Unregister(), S_OK);
}

} // namespace vistrame::test
