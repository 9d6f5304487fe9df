#include "tests/filters/filter_fakes.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <thread>

#include "filters/base/place_reader.h"

namespace vistrame::test {

namespace {

constexpr CLSID kSinkClass = {0x2a5c10d4, 0x0b1e, 0x4b8f, {0x8a, 0x10, 0x31, 0x5f, 0x6b, 0x77, 0x02, 0x01}};
constexpr CLSID kSourceClass = {0x2a5c10d4, 0x0b1e, 0x4b8f, {0x8a, 0x10, 0x31, 0x5f, 0x6b, 0x77, 0x02, 0x02}};

// Puts on its buffers how they are to be laid out.
class LayingAllocator final : public WithInterfaces<ComObject, IMemAllocator> {
public:
    LayingAllocator(ComPtr<IMemAllocator> inner, SinkFilter& owner)
        : inner_(std::move(inner)), owner_(owner) {}

    HRESULT STDMETHODCALLTYPE SetProperties(ALLOCATOR_PROPERTIES* wanted,
                                            ALLOCATOR_PROPERTIES* actual) override {
        ALLOCATOR_PROPERTIES larger = *wanted;
        larger.cbBuffer *= 2;
        return inner_->SetProperties(&larger, actual);
    }
    HRESULT STDMETHODCALLTYPE GetProperties(ALLOCATOR_PROPERTIES* now) override {
        return inner_->GetProperties(now);
    }
    HRESULT STDMETHODCALLTYPE Commit() override {
        committed_ = true;
        return inner_->Commit();
    }
    HRESULT STDMETHODCALLTYPE Decommit() override {
        committed_ = false;
        owner_.decommittedMeanwhile += takingOne_ ? 1 : 0;
        return inner_->Decommit();
    }
    HRESULT STDMETHODCALLTYPE GetBuffer(IMediaSample** sample, REFERENCE_TIME*, REFERENCE_TIME*,
                                        DWORD flags) override {
        takingOne_ = committed_.load();
        std::this_thread::yield();
        const HRESULT result = inner_->GetBuffer(sample, nullptr, nullptr, flags);
        takingOne_ = false;
        MediaType type(owner_.Input().Type());
        const auto* now = type.FormatAs<VIDEOINFOHEADER2>(FORMAT_VideoInfo2);
        if (auto format = now != nullptr ? *now : VIDEOINFOHEADER2{};
            SUCCEEDED(result) && now != nullptr && owner_.layOut(format)) {
            type.SetFormat(FORMAT_VideoInfo2, format);
            EXPECT_EQ((*sample)->SetMediaType(&type.Fields()), S_OK);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReleaseBuffer(IMediaSample* sample) override {
        return inner_->ReleaseBuffer(sample);
    }

private:
    ~LayingAllocator() override = default;

    ComPtr<IMemAllocator> inner_;
    SinkFilter& owner_;
    std::atomic<bool> committed_ = false, takingOne_ = false;
};

} // namespace

bool WaitUntil(const std::function<bool()>& condition) {
    for (const DWORD start = GetTickCount(); GetTickCount() - start < kPatience; Sleep(2)) {
        if (condition()) {
            return true;
        }
    }
    return condition();
}

class SinkFilter::Pin final : public WithInterfaces<InputPin, PlaceReader> {
public:
    explicit Pin(SinkFilter& owner) : WithInterfaces(owner, L"In"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override { return owner_.check(type); }
    std::vector<MediaType> OfferedTypes() override { return owner_.offered; }

    HRESULT Activate() override {
        SetFreed(false);
        return InputPin::Activate();
    }
    void Deactivate() override {
        InputPin::Deactivate();
        SetFreed(true);
    }
    HRESULT STDMETHODCALLTYPE GetAllocator(IMemAllocator** allocator) override {
        ComPtr<IMemAllocator> usual;
        const HRESULT result = InputPin::GetAllocator(&usual);
        if (owner_.layOut) {
            usual = MakeObject<LayingAllocator>(usual, owner_);
        }
        *allocator = usual.Detach();
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* peer, const AM_MEDIA_TYPE* type) override {
        {
            const std::lock_guard lock(owner_.lock_);
            if (owner_.held_ != nullptr) {
                return VFW_E_BUFFERS_OUTSTANDING;
            }
        }
        return InputPin::ReceiveConnection(peer, type);
    }

protected:
    void* FindInterface(REFIID iid) override {
        return iid == __uuidof(PlaceReader) && !owner_.readsInPlace ? nullptr
                                                                    : WithInterfaces::FindInterface(iid);
    }
    bool AcceptsTypeChange() const override { return owner_.reconnects; }
    HRESULT OnReceive(IMediaSample* sample) override {
        Sample taken;
        BYTE* data = nullptr;
        EXPECT_EQ(sample->GetPointer(&data), S_OK);
        taken.at = data;
        REFERENCE_TIME start = 0, now = 0;
        if (SUCCEEDED(sample->GetTime(&start, &taken.stop))) {
            taken.time = start;
            if (owner_.StreamTime(&now)) {
                taken.lead = start - now;
            }
        }
        taken.discontinuity = sample->IsDiscontinuity() == S_OK;
        taken.syncPoint = sample->IsSyncPoint() == S_OK;
        taken.tick = GetTickCount();
        owner_.Look({data, static_cast<std::size_t>(sample->GetActualDataLength())}, taken);

        std::unique_lock lock(owner_.lock_);
        Record& record = owner_.record_;
        record.samples.push_back(std::move(taken));
        record.inReceive = true;
        if (owner_.holds) {
            owner_.held_ = sample;
        }
        owner_.changed_.wait(lock, [this] { return !owner_.blocked_ || owner_.freed_; });
        record.inReceive = false;
        return S_OK;
    }
    HRESULT OnEndOfStream() override { return Count(owner_.record_.ends); }
    HRESULT OnNewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override {
        owner_.atSegment();
        return Count(owner_.record_.segments);
    }
    HRESULT OnBeginFlush() override {
        SetFreed(true);
        return S_OK;
    }
    HRESULT OnEndFlush() override {
        SetFreed(false);
        return Count(owner_.record_.flushes);
    }

private:
    HRESULT Count(int& counter) {
        const std::lock_guard lock(owner_.lock_);
        ++counter;
        return S_OK;
    }
    void SetFreed(bool freed) {
        const std::lock_guard lock(owner_.lock_);
        owner_.freed_ = freed;
        owner_.held_.Reset();
        owner_.changed_.notify_all();
    }

    SinkFilter& owner_;
};

SinkFilter::SinkFilter() : BaseFilter(kSinkClass), pin_(&AddPin(std::make_unique<Pin>(*this))) {}

void SinkFilter::Block(bool blocked) {
    const std::lock_guard lock(lock_);
    blocked_ = blocked;
    changed_.notify_all();
}

SinkFilter::Record SinkFilter::Seen() const {
    const std::lock_guard lock(lock_);
    return record_;
}

std::size_t SinkFilter::Count() const {
    const std::lock_guard lock(lock_);
    return record_.samples.size();
}

bool SinkFilter::Await(std::size_t count) const {
    return WaitUntil([&] { return Count() >= count; });
}

bool SinkFilter::AwaitReceive() const {
    return WaitUntil([&] { return Seen().inReceive; });
}

void SinkFilter::Forget() {
    const std::lock_guard lock(lock_);
    record_.samples.clear();
}

class SourceFilter::Pin final : public OutputPin {
public:
    explicit Pin(SourceFilter& owner) : OutputPin(owner, L"Out"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& /*type*/) override { return S_OK; }
    std::vector<MediaType> OfferedTypes() override { return owner_.offered; }

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override { return {2, kBufferBytes, 1, 0}; }

private:
    SourceFilter& owner_;
};

SourceFilter::SourceFilter() : BaseFilter(kSourceClass), pin_(&AddPin(std::make_unique<Pin>(*this))) {}

HRESULT SourceFilter::Send(ByteSpan data, std::optional<REFERENCE_TIME> time, bool discontinuity) {
    return pin_->Send(data, {.start = time, .discontinuity = discontinuity});
}

HRESULT Display::SetText(const char* text) {
    onText();
    const std::lock_guard lock(lock_);
    texts_.emplace_back(text);
    return S_OK;
}

std::vector<std::string> Display::Texts() const {
    const std::lock_guard lock(lock_);
    return texts_;
}

bool Display::AwaitAnother() const {
    return WaitUntil([this, before = Texts().size()] { return Texts().size() > before; });
}

HMODULE LoadServer() {
    std::array<wchar_t, MAX_PATH> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    std::filesystem::path folder(self.data());
    while (folder.filename() != L"tests") {
        folder = folder.parent_path();
    }
    return LoadLibraryW((folder.parent_path() / L"filters" / L"vistrame.ax").c_str());
}

TestGraph::TestGraph() {
    EXPECT_HRESULT_SUCCEEDED(
        CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&graph)));
    EXPECT_HRESULT_SUCCEEDED(graph.As(&control));
}

TestGraph::~TestGraph() {
    EXPECT_HRESULT_SUCCEEDED(control->Stop());
    control.Reset();
    graph.Reset();
    for (ComPtr<IBaseFilter>& filter : filters_) {
        IBaseFilter* last = filter.Get();
        last->AddRef();
        filter.Reset();
        EXPECT_EQ(last->Release(), 0u) << "something keeps a filter alive";
    }
}

void TestGraph::Run() {
    EXPECT_HRESULT_SUCCEEDED(control->Run());
    OAFilterState state = 0;
    EXPECT_HRESULT_SUCCEEDED(control->GetState(static_cast<LONG>(kPatience), &state));
    EXPECT_EQ(state, static_cast<OAFilterState>(State_Running));
}

ComPtr<IPin> PinOf(IBaseFilter* filter, const wchar_t* name) {
    ComPtr<IPin> pin;
    EXPECT_EQ(filter->FindPin(name, &pin), S_OK) << "no such pin";
    return pin;
}

} // namespace vistrame::test
