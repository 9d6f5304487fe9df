#pragma once

#include <atomic>
#include <utility>

#include <windows.h>
#include <unknwn.h>
#include <wrl/client.h>

namespace vistrame {

using Microsoft::WRL::ComPtr;

// How many objects and server locks keep the DLL in memory; the server answers DllCanUnloadNow from it.
// Threads: any.
class ModuleUse {
public:
    static void Add() { ++count_; }
    static void Drop() { --count_; }
    static bool None() { return count_ == 0; }

private:
    static inline std::atomic<LONG> count_ = 0;
};

// The one IUnknown of every object that lives by its own reference count.
//
// A class derives through WithInterfaces<ComObject, IFirst, ISecond> and is made by MakeObject.
//
// Threads    counting is atomic; FindInterface must be callable from any thread.
// Ownership  starts at no reference; the last Release deletes the object on the releasing thread.
// Errors     an unknown interface is E_NOINTERFACE.
class ComObject : public IUnknown {
public:
    ComObject() { ModuleUse::Add(); }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override;

protected:
    virtual ~ComObject() { ModuleUse::Drop(); }

    // The interface's address without a reference added, or null. An override asks its base for what it does
    // not know.
    virtual void* FindInterface(REFIID iid) { return iid == IID_IUnknown ? this : nullptr; }

private:
    std::atomic<ULONG> references_ = 0;
};

// Adds interfaces to a class that already has an identity: joins their IUnknown methods with the base's and
// answers their identifiers. Interfaces that those derive from (IMediaFilter of IBaseFilter, say) are
// answered by an override of FindInterface.
template <class Base, class... Interfaces>
class WithInterfaces : public Base, public Interfaces... {
public:
    using Base::Base;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        return Base::QueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return Base::AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return Base::Release(); }

protected:
    void* FindInterface(REFIID iid) override {
        void* found = nullptr;
        (Match<Interfaces>(iid, &found), ...);
        return found != nullptr ? found : Base::FindInterface(iid);
    }

private:
    template <class Interface>
    void Match(REFIID iid, void** found) {
        if (iid == __uuidof(Interface)) {
            *found = static_cast<Interface*>(this);
        }
    }
};

template <class Object, class... Arguments>
ComPtr<Object> MakeObject(Arguments&&... arguments) {
    return ComPtr<Object>(new Object(std::forward<Arguments>(arguments)...));
}

} // namespace vistrame
