#include "filters/base/wine.h"

#include <windows.h>

namespace vistrame {

bool IsWine() {
    const HMODULE system = GetModuleHandleA("ntdll.dll");
    return system != nullptr && GetProcAddress(system, "wine_get_version") != nullptr;
}

} // namespace vistrame
