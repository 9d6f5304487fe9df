// Stand-ins for what a built graph holds, for tests of those who use it: they record their calls in a shared
// journal and never own themselves.
//
// Threads    a journal may be written by any thread.
// Ownership  fakes live on the stack; `references` counts what others hold.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <windows.h>
#include <dshow.h>
#include <bdaiface.h>
#include <d3d9.h>
#include <vmr9.h>

#include "graph/maker_interfaces.h"
#include "tests/support/messages.h"

namespace vistrame::test {

class Journal {
public:
    void Add(std::string line) {
        const std::lock_guard hold(lock_);
        lines_.push_back(std::move(line));
    }
    // The lines since the last call.
    std::vector<std::string> Take() {
        const std::lock_guard hold(lock_);
        return std::exchange(lines_, {});
    }
    // The same, once there are `count` of them or five seconds are over; messages are dispatched meanwhile.
    std::vector<std::string> TakeWhen(std::size_t count) {
        (void)PumpUntil(
            [this, count] {
                const std::lock_guard hold(lock_);
                return lines_.size() >= count;
            },
            5000);
        return Take();
    }

private:
    std::mutex lock_;
    std::vector<std::string> lines_;
};

template <typename Interface>
class Fake : public Interface {
public:
    explicit Fake(Journal& journal) : journal(journal) {}
    Fake(const Fake&) = delete;
    Fake& operator=(const Fake&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID /*id*/, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }

    Journal& journal;
    std::atomic<ULONG> references = 0;

protected:
    ~Fake() = default;
};

template <typename Interface>
class FakeDispatch : public Fake<Interface> {
public:
    using Fake<Interface>::Fake;

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return E_NOTIMPL;
    }

protected:
    ~FakeDispatch() = default;
};

class FakeControl final : public FakeDispatch<IMediaControl> {
public:
    using FakeDispatch::FakeDispatch;

    HRESULT STDMETHODCALLTYPE Run() override { return Record("Run"); }
    HRESULT STDMETHODCALLTYPE Pause() override { return Record("Pause"); }
    HRESULT STDMETHODCALLTYPE Stop() override { return Record("Stop"); }
    HRESULT STDMETHODCALLTYPE GetState(LONG, OAFilterState*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RenderFile(BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE AddSourceFilter(BSTR, IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_FilterCollection(IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_RegFilterCollection(IDispatch**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE StopWhenReady() override { return Record("StopWhenReady"); }

    std::function<void(const std::string& call)> during; // runs inside each recorded call

private:
    HRESULT Record(const std::string& call) {
        journal.Add(call);
        if (during) {
            during(call);
        }
        return E_FAIL; // no one may rely on success
    }
};

class FakePidMap final : public Fake<IMPEG2PIDMap> {
public:
    FakePidMap(Journal& journal, std::string name) : Fake(journal), name_(std::move(name)) {}

    HRESULT STDMETHODCALLTYPE MapPID(ULONG, ULONG* pid, MEDIA_SAMPLE_CONTENT) override {
        journal.Add(name_ + " map " + std::to_string(*pid));
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE UnmapPID(ULONG, ULONG* pid) override {
        journal.Add(name_ + " unmap " + std::to_string(*pid));
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE EnumPIDMap(IEnumPIDMap**) override { return E_NOTIMPL; }

private:
    std::string name_;
};

class FakeFeed final : public Fake<FeedData> {
public:
    using Fake::Fake;

    HRESULT STDMETHODCALLTYPE Reserved() override {
        journal.Add("Reserved");
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DeliverData(const BYTE* data, ULONG length) override {
        if (deliver) {
            deliver(data, length);
        }
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE SendDiscontinuity() override {
        journal.Add("SendDiscontinuity");
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE SetPids2(ULONG value) override {
        journal.Add("SetPids2 " + std::to_string(value));
        return E_FAIL;
    }

    std::function<void(const BYTE* data, ULONG length)> deliver;
};

class FakeKorvixDemux final : public Fake<KorvixDemux> {
public:
    using Fake::Fake;

    HRESULT STDMETHODCALLTYPE SetAudioType(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetVideoType(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetPids(ULONG video, ULONG audio, ULONG clock) override {
        journal.Add("SetPids " + std::to_string(video) + ' ' + std::to_string(audio) + ' ' +
                    std::to_string(clock));
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE AttachOsd(OsdSourceControl*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStallCount(ULONG stream, ULONG* count) override {
        ++asked;
        *count = counts[stream];
        return E_FAIL; // the count is there all the same
    }

    ULONG counts[2] = {0, 0};
    int asked = 0;
};

class FakeMixer final : public Fake<IVMRMixerBitmap9> {
public:
    using Fake::Fake;

    HRESULT STDMETHODCALLTYPE SetAlphaBitmap(const VMR9AlphaBitmap* parameters) override {
        last = parameters;
        journal.Add("SetAlphaBitmap");
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE UpdateAlphaBitmapParameters(const VMR9AlphaBitmap*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetAlphaBitmapParameters(VMR9AlphaBitmap*) override {
        journal.Add("GetAlphaBitmapParameters");
        return E_FAIL;
    }

    const VMR9AlphaBitmap* last = nullptr;
};

class FakeVolume final : public FakeDispatch<IBasicAudio> {
public:
    using FakeDispatch::FakeDispatch;

    HRESULT STDMETHODCALLTYPE put_Volume(LONG level) override {
        journal.Add(std::to_string(level));
        if (onLevel) {
            onLevel(level);
        }
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE get_Volume(LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE put_Balance(LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Balance(LONG*) override { return E_NOTIMPL; }

    std::function<void(LONG level)> onLevel; // on the fade-in thread
};

} // namespace vistrame::test
