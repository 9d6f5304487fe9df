// The entry points of vistrame.ax: a COM in-process server that registers itself.

#include <array>
#include <string>
#include <string_view>

#include <windows.h>
#include <olectl.h>

#include "filters/base/class_factory.h"
#include "filters/base/guarded.h"
#include "filters/server/class_table.h"
#include "filters/server/registration.h"

using namespace vistrame;

namespace {

HINSTANCE moduleHandle = nullptr; // set once when the file is loaded

// Path of this file; empty when it is too long for the platform's own limit.
std::wstring ModulePath() {
    std::array<wchar_t, 32768> path{}; // longest path of the platform
    const DWORD length = GetModuleFileNameW(moduleHandle, path.data(), static_cast<DWORD>(path.size()));
    return length < path.size() ? std::wstring(path.data(), length) : std::wstring();
}

HRESULT Register(Scope scope) {
    const std::wstring path = ModulePath();
    return path.empty() ? SELFREG_E_CLASS : RegisterClasses(Classes(), path, scope);
}

// As regsvr32 wants to know it.
HRESULT SelfRegistered(HRESULT result) {
    return FAILED(result) ? SELFREG_E_CLASS : S_OK;
}

} // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        moduleHandle = instance;
    }
    return TRUE;
}

HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID classId, REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    const ClassRow* row = FindClass(classId);
    if (row == nullptr) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    return Guarded([&] { return MakeObject<ClassFactory>(row->create).Get()->QueryInterface(iid, object); });
}

HRESULT STDAPICALLTYPE DllCanUnloadNow() {
    return ModuleUse::None() ? S_OK : S_FALSE;
}

// For everybody, or for the current user where he may not do that.
HRESULT STDAPICALLTYPE DllRegisterServer() {
    return Guarded([] {
        const HRESULT result = Register(Scope::Everybody);
        if (result == E_ACCESSDENIED) {
            return SelfRegistered(Register(Scope::CurrentUser));
        }
        if (SUCCEEDED(result)) {
            // An older one of his own would come before it.
            (void)UnregisterClasses(Classes(), Scope::CurrentUser);
        }
        return SelfRegistered(result);
    });
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
    return Guarded([] {
        const HRESULT own = UnregisterClasses(Classes(), Scope::CurrentUser);
        const HRESULT everybodys = UnregisterClasses(Classes(), Scope::Everybody);
        return SelfRegistered(FAILED(own) ? own : everybodys);
    });
}

// "regsvr32 /n /i:user vistrame.ax", with /u to take it back: for the current user, whatever he might do.
HRESULT STDAPICALLTYPE DllInstall(BOOL install, LPCWSTR whom) {
    return Guarded([&] {
        if (whom == nullptr || whom != std::wstring_view(L"user")) {
            return E_INVALIDARG;
        }
        return SelfRegistered(install != FALSE ? Register(Scope::CurrentUser)
                                               : UnregisterClasses(Classes(), Scope::CurrentUser));
    });
}

} // extern "C"
