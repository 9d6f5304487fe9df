// COM objects that record what is done to them, for tests.
//
// A FakeObject is made of parts, one per interface, that share its identity and reference count. It stays in
// memory when the count falls to zero, so that a release too many or a late call fails the test by name instead
// of crashing it. Threads: any, one at a time.
#pragma once

#include <cstdarg>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <unknwn.h>

namespace vistrame::test {

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string Line(const char* format, ...);
std::string LineOf(const char* format, std::va_list arguments);

// What happened, in order.
struct CallRecord {
    std::vector<std::string> lines;
    bool releases = false; // whether each release of an object is a line, too
};

class FakeObject {
public:
    FakeObject(CallRecord& record, std::string objectName) : name(std::move(objectName)), record_(record) {}
    FakeObject(const FakeObject&) = delete;
    FakeObject& operator=(const FakeObject&) = delete;
    virtual ~FakeObject() = default;

    // Makes a Part(object, arguments...), found under its interface's identifier.
    template <typename Part, typename... Arguments>
    Part& Offer(Arguments&&... arguments) {
        auto part = std::make_shared<Part>(*this, std::forward<Arguments>(arguments)...);
        interfaces_.emplace_back(__uuidof(typename Part::Interface), part.get());
        parts_.push_back(part);
        return *part;
    }

    // An interface that is asked for and never called.
    void OfferUncalled(REFIID iid);
    void Withhold(REFIID iid);

    HRESULT Query(REFIID iid, void** out);
    ULONG AddRef() { return ++references; }
    ULONG Release();

    // The first part; no reference is added.
    [[nodiscard]] IUnknown* Identity() const { return interfaces_.front().second; }
    // The object behind any of its interfaces; null for null. Only for fakes.
    static FakeObject* Of(IUnknown* part);

    // Adds the line "name.call".
    void Record(const std::string& call) { record_.lines.push_back(name + "." + call); }

    const std::string name;
    ULONG references = 0;
    std::function<void(REFIID)> onQuery; // sees each question for an interface

private:
    CallRecord& record_;
    std::vector<std::pair<IID, IUnknown*>> interfaces_;
    std::vector<std::shared_ptr<void>> parts_;
};

// Gives an interface the identity of the object it is part of. A derived class overrides what it expects.
template <typename I>
class FakePart : public I {
public:
    using Interface = I;
    explicit FakePart(FakeObject& object) : object_(object) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return object_.Query(iid, out); }
    STDMETHODIMP_(ULONG) AddRef() override { return object_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return object_.Release(); }

protected:
    // Adds the line "object.call", printf-formatted; always S_OK.
    [[gnu::format(printf, 2, 3)]] HRESULT Record(const char* call, ...) {
        std::va_list arguments;
        va_start(arguments, call);
        object_.Record(LineOf(call, arguments));
        va_end(arguments);
        return S_OK;
    }

    HRESULT Unexpected(const char* method) {
        ADD_FAILURE() << "unexpected call " << object_.name << "." << method;
        return E_NOTIMPL;
    }

    FakeObject& object_;
};

// Puts `create` behind a class identifier for as long as it lives, whatever the registry says.
class ClassOverride final : public IClassFactory {
public:
    using Creator = std::function<HRESULT(REFIID, void**)>;
    ClassOverride(REFCLSID classId, Creator create);
    ClassOverride(const ClassOverride&) = delete;
    ClassOverride& operator=(const ClassOverride&) = delete;
    ~ClassOverride();

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; } // lives as long as the test wants
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override;
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    Creator create_;
    DWORD registration_ = 0;
};

} // namespace vistrame::test
