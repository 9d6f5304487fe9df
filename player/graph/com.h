// Small helpers around COM calls whose failure shows as a null reference.
#pragma once

#include <bit>

#include <windows.h>
#include <dshow.h>
#include <amvideo.h>
#include <wrl/client.h>

#include "player/graph/class_id.h"

// Identifiers that the cross compiler's headers leave off; __uuidof reads them. The last one belongs to the
// renderer's predecessor.
__CRT_UUID_DECL(IVideoWindow, 0x56a868b4, 0x0ad4, 0x11ce, 0xb0, 0x3a, 0x00, 0x20, 0xaf, 0x0b, 0xa7, 0x70)
__CRT_UUID_DECL(IBasicAudio, 0x56a868b3, 0x0ad4, 0x11ce, 0xb0, 0x3a, 0x00, 0x20, 0xaf, 0x0b, 0xa7, 0x70)
__CRT_UUID_DECL(IQualProp, 0x1bd0ecb0, 0xf8e2, 0x11ce, 0xaa, 0xc6, 0x00, 0x20, 0xaf, 0x0b, 0x99, 0xa3)
__CRT_UUID_DECL(IVMRWindowlessControl, 0x0eb1088c, 0x4dcd, 0x46f0, 0x87, 0x8f, 0x39, 0xda, 0xe8, 0x6a, 0x51,
                0xb7)

namespace vistrame {

constexpr GUID ToGuid(const ClassId& id) {
    return std::bit_cast<GUID>(id);
}

// Null when `object` is null or does not offer T.
template <typename T>
Microsoft::WRL::ComPtr<T> Query(IUnknown* object) {
    Microsoft::WRL::ComPtr<T> found;
    if (object != nullptr) {
        (void)object->QueryInterface(__uuidof(T), reinterpret_cast<void**>(found.GetAddressOf()));
    }
    return found;
}

template <typename T, typename From>
Microsoft::WRL::ComPtr<T> Query(const Microsoft::WRL::ComPtr<From>& object) {
    return Query<T>(object.Get());
}

// Null when the class is not installed or cannot be made. In-process servers and handlers only.
template <typename T>
Microsoft::WRL::ComPtr<T> Create(REFCLSID classId) {
    Microsoft::WRL::ComPtr<T> created;
    (void)CoCreateInstance(classId, nullptr, CLSCTX_INPROC, __uuidof(T),
                           reinterpret_cast<void**>(created.GetAddressOf()));
    return created;
}

} // namespace vistrame
