#pragma once

#include "filters/base/com_object.h"

namespace vistrame {

// Makes one object of a class; null when there is no memory.
using CreateObject = ComPtr<IUnknown> (*)();

// The creation function of a class, for the server's table of classes.
template <class Object>
ComPtr<IUnknown> CreateFilter() {
    const ComPtr<Object> object = MakeObject<Object>();
    ComPtr<IUnknown> identity;
    (void)object.Get()->QueryInterface(IID_PPV_ARGS(&identity)); // every object has its identity
    return identity;
}

// Class object of one class of the server.
//
// Threads    any; creation runs on the caller's thread.
// Errors     CLASS_E_NOAGGREGATION with an outer object, E_OUTOFMEMORY, or E_NOINTERFACE.
class ClassFactory final : public WithInterfaces<ComObject, IClassFactory> {
public:
    explicit ClassFactory(CreateObject create) : create_(create) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

private:
    ~ClassFactory() override = default;

    CreateObject create_;
};

} // namespace vistrame
