// Direct3D's one entry point, found when it is first wanted instead of linked: the system does not insist on
// its own d3d9.dll, so a linked one would come from the program's folder first.

#include <d3d9.h>

#include "contract/system_dlls.h"

// Under the name that its header declares, so that whoever calls it need not know.
extern "C" IDirect3D9* WINAPI Direct3DCreate9(UINT version) {
    static auto* const create =
        vistrame::SystemFunction<decltype(Direct3DCreate9)>(L"d3d9.dll", "Direct3DCreate9");
    return create == nullptr ? nullptr : create(version);
}
