#include "tests/support/com_fake.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <stdexcept>

#include <gtest/gtest.h>

namespace vistrame::test {

std::string Text(const wchar_t* text) {
    return Line("\"%ls\"", text);
}

std::string Text(IUnknown* object) {
    return object == nullptr ? "null" : FakeObject::Of(object).name;
}

std::string Text(const AM_MEDIA_TYPE* type) {
    // Spelt out here, so that the player's own constants are checked by whoever compares lines.
    static const std::map<std::wstring, std::string> names = {
        {L"{00000000-0000-0000-0000-000000000000}", "none"},
        {L"{73646976-0000-0010-8000-00AA00389B71}", "video"},
        {L"{73647561-0000-0010-8000-00AA00389B71}", "audio"},
        {L"{E06D8026-DB46-11CF-B4D1-00805F6CBBEA}", "MPEG2"},
        {L"{E06D802B-DB46-11CF-B4D1-00805F6CBBEA}", "MPEG"},
        {L"{E06D802C-DB46-11CF-B4D1-00805F6CBBEA}", "AC3"},
        {L"{00001602-0000-0010-8000-00AA00389B71}", "LATM"},
        {L"{A7FB87AF-2D02-42FB-A4D4-05CD93843BDD}", "EAC3"},
        {L"{E06D80E3-DB46-11CF-B4D1-00805F6CBBEA}", "MPEG2VIDEOINFO"},
        {L"{05589F81-C356-11CE-BF01-00AA0055595A}", "WAVEFORMATEX"}};
    const auto nameOf = [](const GUID& id) {
        std::array<wchar_t, 39> text{};
        (void)StringFromGUID2(id, text.data(), text.size());
        const auto found = names.find(text.data());
        const bool fourCc = std::wstring(text.data()).ends_with(L"-0000-0010-8000-00AA00389B71}");
        return found != names.end() ? found->second
               : fourCc             ? std::string(reinterpret_cast<const char*>(&id.Data1), 4)
                                    : Line("%ls", text.data());
    };
    if (type == nullptr) {
        return "no type";
    }
    std::string text = nameOf(type->majortype) + "/" + nameOf(type->subtype);
    if (type->cbFormat != 0 || type->formattype != GUID_NULL) {
        text += ' ' + nameOf(type->formattype) + ' ' + std::to_string(type->cbFormat);
    }
    return text;
}

std::string Line(const char* format, ...) {
    std::array<char, 512> text{};
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

FakePart& FakeObject::Offer(REFIID iid) {
    return *parts_.emplace_back(std::make_shared<FakePart>(*this, iid));
}

FakePart* FakeObject::Find(REFIID iid) {
    const auto found = std::ranges::find_if(
        parts_, [&](const auto& part) { return iid == IID_IUnknown || iid == part->iid; });
    return found == parts_.end() ? nullptr : found->get();
}

void FakeObject::Withhold(REFIID iid) {
    if (FakePart* const part = Find(iid)) {
        part->iid = {};
    }
}

HRESULT FakeObject::Query(REFIID iid, void** out) {
    if (queries) {
        Record(Line("Query %08lX", iid.Data1));
    }
    *out = Find(iid);
    if (*out == nullptr) {
        return E_NOINTERFACE;
    }
    ++references;
    return S_OK;
}

FakeObject& FakeObject::Of(IUnknown* part) {
    return reinterpret_cast<FakePart*>(part)->object;
}

HRESULT FakeObject::Add(const std::string& method, const Lines& arguments) {
    std::string line = name + '.' + method;
    for (const std::string& argument : arguments) {
        line += (&argument == arguments.data() ? "(" : ", ") + argument;
    }
    line += arguments.empty() ? "" : ")";
    journal_.Add(line);
    if (during) {
        during(line);
    }
    return result;
}

ULONG FakeObject::Release() {
    if (references == 0) {
        ADD_FAILURE() << name << " released once too often";
        return 0;
    }
    if (journal_.releases) {
        journal_.Add(name + ".Release");
    }
    return --references;
}

FakePart::FakePart(FakeObject& owner, REFIID interfaceId) : object(owner), iid(interfaceId) {
    methods_ = table_.data();
    table_.fill(reinterpret_cast<void*>(Unexpected));
    table_[0] = reinterpret_cast<void*>(QueryInterface);
    table_[1] = reinterpret_cast<void*>(AddRef);
    table_[2] = reinterpret_cast<void*>(Release);
}

HRESULT FakePart::QueryInterface(FakePart* part, REFIID iid, void** out) {
    return part->object.Query(iid, out);
}

ULONG FakePart::AddRef(FakePart* part) {
    return ++part->object.references;
}

ULONG FakePart::Release(FakePart* part) {
    return part->object.Release();
}

void FakePart::Unexpected(FakePart* part) {
    throw std::logic_error("unexpected call of " + part->object.name);
}

} // namespace vistrame::test
