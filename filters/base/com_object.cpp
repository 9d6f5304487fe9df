#include "filters/base/com_object.h"

namespace vistrame {

HRESULT ComObject::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = FindInterface(iid);
    if (*object == nullptr) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG ComObject::Release() {
    const ULONG left = --references_;
    if (left == 0) {
        references_ = 1; // whoever takes and drops a reference while the object goes must not delete it again
        delete this;
    }
    return left;
}

} // namespace vistrame
