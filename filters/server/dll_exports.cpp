// The entry points of vistrame.ax: a COM in-process server that registers itself.

#include <array>
#include <string>

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

HRESULT STDAPICALLTYPE DllRegisterServer() {
    return Guarded([&] {
        const std::wstring path = ModulePath();
        return path.empty() || FAILED(RegisterClasses(Classes(), path)) ? SELFREG_E_CLASS : S_OK;
    });
}

HRESULT STDAPICALLTYPE DllUnregisterServer() {
    return Guarded([] { return FAILED(UnregisterClasses(Classes())) ? SELFREG_E_CLASS : S_OK; });
}

} // extern "C"
