#include "filters/base/class_factory.h"

#include "filters/base/guarded.h"

namespace vistrame {

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (outer != nullptr) {
        return CLASS_E_NOAGGREGATION;
    }
    return Guarded([&] {
        const ComPtr<IUnknown> made = create_();
        return made == nullptr ? E_OUTOFMEMORY : made.Get()->QueryInterface(iid, object);
    });
}

HRESULT ClassFactory::LockServer(BOOL lock) {
    lock != FALSE ? ModuleUse::Add() : ModuleUse::Drop();
    return S_OK;
}

} // namespace vistrame
