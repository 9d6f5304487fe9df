// Where the programs take DLLs from that are loaded by name: the system's folder, never the program's own or
// the current one, where anybody's download may lie.
//
// What is linked is loaded before any of our code runs, and from the program's folder first unless its name
// is one of those that the system always takes from its own. What is none of these is found by
// SystemFunction.
#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

// Null: this system has none of the name. The DLL stays loaded.
template <typename Function>
Function* SystemFunction(const std::wstring& dll, const char* name) {
    wchar_t folder[MAX_PATH];
    const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
    HMODULE module =
        length == 0 || length >= MAX_PATH ? nullptr : LoadLibraryW((folder + (L'\\' + dll)).c_str());
    // Through a neutral pointer: what is exported has no type.
    return module == nullptr
               ? nullptr
               : reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// First of all. Modules that come with a full path, as COM servers do, are found as before, and so is what
// lies beside them.
inline void LoadDllsFromSystemOnly() {
    (void)SetDllDirectoryW(L""); // not the current folder; all that a Windows without the next one can do
    if (auto* const set = SystemFunction<BOOL WINAPI(DWORD)>(L"kernel32.dll", "SetDefaultDllDirectories")) {
        (void)set(LOAD_LIBRARY_SEARCH_SYSTEM32 | LOAD_LIBRARY_SEARCH_USER_DIRS);
    }
}

} // namespace vistrame
