// COM objects for tests, made of single methods: what a test does not give an object, nobody may call.
//
// Calls are written down in a journal that several objects share, so that their order shows. An object stays
// in memory when its count falls to zero: a release too many or a late call fails the test by name.
//
// Threads    journals and counts: any; an object is equipped before others see it.
// Ownership  whoever makes an object keeps it; `references` counts what others hold.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <concepts>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "tests/support/messages.h"

namespace vistrame::test {

using Lines = std::vector<std::string>;

// What happened, in order.
class Journal {
public:
    void Add(std::string line) {
        const std::lock_guard hold(lock_);
        lines_.push_back(std::move(line));
    }
    // The lines since the last call.
    Lines Take() {
        const std::lock_guard hold(lock_);
        return std::exchange(lines_, {});
    }
    // The same, once there are `count` of them or five seconds are over; messages are dispatched meanwhile.
    Lines TakeWhen(std::size_t count) {
        const auto enough = [&] {
            const std::lock_guard hold(lock_);
            return lines_.size() >= count;
        };
        (void)PumpUntil(enough, 5000);
        return Take();
    }

    bool releases = false; // whether each release of an object is a line, too

private:
    std::mutex lock_;
    Lines lines_;
};

// Arguments as lines show them: objects by name, media types as "video/H264 MPEG2VIDEOINFO 136" or "no type".
inline std::string Text(std::integral auto number) {
    return std::to_string(number);
}
std::string Text(const wchar_t* text);
std::string Text(IUnknown* object);
std::string Text(const AM_MEDIA_TYPE* type);

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string Line(const char* format, ...);

class FakePart;

class FakeObject {
public:
    FakeObject(Journal& journal, std::string objectName) : name(std::move(objectName)), journal_(journal) {}

    template <typename I>
    FakePart& Offer() {
        return Offer(__uuidof(I));
    }
    void Withhold(REFIID iid);
    HRESULT Query(REFIID iid, void** out);

    // One of the interfaces, without another reference; null when it is not offered.
    template <typename I>
    I* As() {
        return reinterpret_cast<I*>(Find(__uuidof(I)));
    }
    // The object behind any of its interfaces.
    static FakeObject& Of(IUnknown* part);

    // Adds the line "name.method(arguments)".
    template <typename... Arguments>
    HRESULT Record(const std::string& method, const Arguments&... arguments) {
        return Add(method, {Text(arguments)...});
    }

    const std::string name;
    std::atomic<ULONG> references = 0;
    HRESULT result = S_OK;                               // of each recorded call
    std::function<void(const std::string& line)> during; // runs inside each recorded call
    bool queries = false;                                // whether questions for interfaces are lines, too

private:
    friend class FakePart;
    FakePart& Offer(REFIID iid);
    FakePart* Find(REFIID iid);
    HRESULT Add(const std::string& method, const Lines& arguments);
    ULONG Release();

    Journal& journal_;
    std::vector<std::shared_ptr<FakePart>> parts_; // the first is the object's identity
};

// One interface of an object: a table of methods that throw until they are replaced.
class FakePart {
    void** methods_; // what makes this a COM object; nothing may lie before it

public:
    FakePart(FakeObject& owner, REFIID interfaceId);
    FakePart(const FakePart&) = delete;
    FakePart& operator=(const FakePart&) = delete;

    // Replaces a method: On<&IMediaControl::Run>([] { return S_OK; }).
    template <auto Method, typename Handler>
    FakePart& On(Handler handler) {
        return Replace<Method>(Method, std::move(handler));
    }

    // Methods that are recorded and do nothing else.
    template <auto... Methods>
    FakePart& Records() {
        (On<Methods>([this](auto... arguments) { return object.Record(NameOf<Methods>(), arguments...); }),
         ...);
        return *this;
    }

    FakeObject& object;
    IID iid;

private:
    // A pointer to a virtual method is its offset in the table plus one.
    template <auto Method>
    static std::size_t Slot() {
        auto method = Method;
        return (std::bit_cast<std::array<std::size_t, 2>>(method)[0] - 1) / sizeof(void*);
    }

    template <auto Method>
    static std::string NameOf() {
        const std::string text = __PRETTY_FUNCTION__; // "... [with auto Method = &Interface::Name; ...]"
        const std::size_t start = text.find("::", text.find("Method = &")) + 2;
        return text.substr(start, text.find_first_of(";]", start) - start);
    }

    template <auto Method, typename I, typename... Arguments>
    FakePart& Replace(HRESULT (STDMETHODCALLTYPE I::*)(Arguments...),
                      std::type_identity_t<std::function<HRESULT(Arguments...)>> handler) {
        handlers_.at(Slot<Method>()) =
            std::make_shared<std::function<HRESULT(Arguments...)>>(std::move(handler));
        using Entry = HRESULT(STDMETHODCALLTYPE*)(FakePart*, Arguments...);
        const Entry entry = &FakePart::Enter<Method, Arguments...>;
        table_.at(Slot<Method>()) = reinterpret_cast<void*>(entry);
        return *this;
    }

    template <auto Method, typename... Arguments>
    static HRESULT STDMETHODCALLTYPE Enter(FakePart* part, Arguments... arguments) {
        using Handler = std::function<HRESULT(Arguments...)>;
        return (*static_cast<Handler*>(part->handlers_.at(Slot<Method>()).get()))(arguments...);
    }

    static HRESULT STDMETHODCALLTYPE QueryInterface(FakePart* part, REFIID iid, void** out);
    static ULONG STDMETHODCALLTYPE AddRef(FakePart* part);
    static ULONG STDMETHODCALLTYPE Release(FakePart* part);
    [[noreturn]] static void STDMETHODCALLTYPE Unexpected(FakePart* part);

    std::array<void*, 64> table_;
    std::array<std::shared_ptr<void>, 64> handlers_;
};

// For methods that return an object: a counted reference.
template <typename I>
HRESULT Hand(FakeObject& object, I** out) {
    ++object.references;
    *out = object.As<I>();
    return S_OK;
}

} // namespace vistrame::test
