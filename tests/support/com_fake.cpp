#include "tests/support/com_fake.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vistrame::test {
namespace {

// Answered by every fake with the FakeObject itself; no interface of this name exists.
constexpr IID kSelf = {0x6a0d8f6e, 0x2a3a, 0x4a52, {0x8e, 0x55, 0x37, 0x6f, 0x0c, 0x63, 0x2d, 0x11}};

} // namespace

std::string Line(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string line = LineOf(format, arguments);
    va_end(arguments);
    return line;
}

std::string LineOf(const char* format, std::va_list arguments) {
    std::array<char, 512> text{};
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    return text.data();
}

void FakeObject::OfferUncalled(REFIID iid) {
    Offer<FakePart<IUnknown>>();
    interfaces_.back().first = iid;
}

void FakeObject::Withhold(REFIID iid) {
    std::erase_if(interfaces_, [&](const auto& entry) { return entry.first == iid; });
}

HRESULT FakeObject::Query(REFIID iid, void** out) {
    if (iid == kSelf) {
        *out = this;
        return S_OK;
    }
    if (onQuery) {
        onQuery(iid);
    }
    const auto found =
        std::ranges::find_if(interfaces_, [&](const auto& entry) { return entry.first == iid; });
    IUnknown* const part = iid == IID_IUnknown          ? Identity()
                           : found != interfaces_.end() ? found->second
                                                        : nullptr;
    *out = part;
    if (part == nullptr) {
        return E_NOINTERFACE;
    }
    part->AddRef();
    return S_OK;
}

ULONG FakeObject::Release() {
    if (references == 0) {
        ADD_FAILURE() << name << " released once too often";
        return 0;
    }
    if (record_.releases) {
        Record("Release");
    }
    return --references;
}

FakeObject* FakeObject::Of(IUnknown* part) {
    void* object = nullptr;
    if (part != nullptr) {
        (void)part->QueryInterface(kSelf, &object);
    }
    return static_cast<FakeObject*>(object);
}

ClassOverride::ClassOverride(REFCLSID classId, Creator create) : create_(std::move(create)) {
    EXPECT_EQ(CoRegisterClassObject(classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration_),
              S_OK);
}

ClassOverride::~ClassOverride() {
    EXPECT_EQ(CoRevokeClassObject(registration_), S_OK);
}

HRESULT ClassOverride::QueryInterface(REFIID iid, void** out) {
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *out = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT ClassOverride::CreateInstance(IUnknown* outer, REFIID iid, void** out) {
    EXPECT_EQ(outer, nullptr);
    *out = nullptr;
    return create_(iid, out);
}

} // namespace vistrame::test
