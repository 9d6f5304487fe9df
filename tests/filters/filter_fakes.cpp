#include "tests/filters/filter_fakes.h"

#include <cstring>

namespace vistrame::test {

namespace {

constexpr CLSID kSinkClass = {0x2a5c10d4, 0x0b1e, 0x4b8f, {0x8a, 0x10, 0x31, 0x5f, 0x6b, 0x77, 0x02, 0x01}};
constexpr CLSID kSourceClass = {0x2a5c10d4, 0x0b1e, 0x4b8f, {0x8a, 0x10, 0x31, 0x5f, 0x6b, 0x77, 0x02, 0x02}};

} // namespace

bool WaitUntil(const std::function<bool()>& condition) {
    for (const DWORD start = GetTickCount(); GetTickCount() - start < kPatience; Sleep(2)) {
        if (condition()) {
            return true;
        }
    }
    return condition();
}

class SinkFilter::Pin final : public InputPin {
public:
    explicit Pin(SinkFilter& owner) : InputPin(owner, L"In"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override { return owner_.check(type); }
    std::vector<MediaType> OfferedTypes() override { return owner_.offered; }

    HRESULT Activate() override {
        SetFreed(false);
        return InputPin::Activate();
    }
    void Deactivate() override {
        InputPin::Deactivate();
        SetFreed(true);
        owner_.NoteNeighbour();
    }
    HRESULT STDMETHODCALLTYPE NotifyAllocator(IMemAllocator* allocator, BOOL readOnly) override {
        if (owner_.ownAllocatorOnly) {
            ComPtr<IMemAllocator> own;
            if (FAILED(GetAllocator(&own)) || own.Get() != allocator) {
                return E_FAIL;
            }
        }
        return InputPin::NotifyAllocator(allocator, readOnly);
    }

protected:
    HRESULT OnReceive(IMediaSample* sample) override {
        Sample taken;
        BYTE* data = nullptr;
        EXPECT_EQ(sample->GetPointer(&data), S_OK);
        taken.data.assign(data, data + sample->GetActualDataLength());
        REFERENCE_TIME start = 0, stop = 0, now = 0;
        if (SUCCEEDED(sample->GetTime(&start, &stop))) {
            taken.time = start;
            if (owner_.StreamTime(&now)) {
                taken.lead = start - now;
            }
        }
        taken.discontinuity = sample->IsDiscontinuity() == S_OK;
        taken.syncPoint = sample->IsSyncPoint() == S_OK;
        taken.tick = GetTickCount();

        std::unique_lock lock(owner_.lock_);
        owner_.samples_.push_back(std::move(taken));
        owner_.inReceive_ = true;
        owner_.changed_.wait(lock, [this] { return !owner_.blocked_ || owner_.freed_; });
        owner_.inReceive_ = false;
        return owner_.answer_;
    }
    HRESULT OnEndOfStream() override { return Count(owner_.ends_); }
    HRESULT OnNewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override { return Count(owner_.segments_); }
    HRESULT OnBeginFlush() override {
        SetFreed(true);
        return S_OK;
    }
    HRESULT OnEndFlush() override {
        SetFreed(false);
        return Count(owner_.flushes_);
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
        owner_.changed_.notify_all();
    }

    SinkFilter& owner_;
};

SinkFilter::SinkFilter() : BaseFilter(kSinkClass), pin_(&AddPin(std::make_unique<Pin>(*this))) {}

SinkFilter::~SinkFilter() {
    (void)Stop();
}

void SinkFilter::Answer(HRESULT result) {
    const std::lock_guard lock(lock_);
    answer_ = result;
}

void SinkFilter::Block(bool blocked) {
    const std::lock_guard lock(lock_);
    blocked_ = blocked;
    changed_.notify_all();
}

bool SinkFilter::InReceive() const {
    const std::lock_guard lock(lock_);
    return inReceive_;
}

std::vector<SinkFilter::Sample> SinkFilter::Samples() const {
    const std::lock_guard lock(lock_);
    return samples_;
}

std::size_t SinkFilter::Count() const {
    const std::lock_guard lock(lock_);
    return samples_.size();
}

void SinkFilter::Forget() {
    const std::lock_guard lock(lock_);
    samples_.clear();
}

int SinkFilter::EndsOfStream() const {
    const std::lock_guard lock(lock_);
    return ends_;
}

int SinkFilter::Segments() const {
    const std::lock_guard lock(lock_);
    return segments_;
}

int SinkFilter::Flushes() const {
    const std::lock_guard lock(lock_);
    return flushes_;
}

std::vector<FILTER_STATE> SinkFilter::NeighbourStates() const {
    const std::lock_guard lock(lock_);
    return neighbourStates_;
}

void SinkFilter::NoteNeighbour() {
    const ComPtr<IPin> peer = Pins().front()->Peer();
    PIN_INFO info{};
    if (peer == nullptr || FAILED(peer->QueryPinInfo(&info))) {
        return;
    }
    ComPtr<IBaseFilter> neighbour;
    *neighbour.ReleaseAndGetAddressOf() = info.pFilter;
    FILTER_STATE state{};
    (void)neighbour->GetState(0, &state);
    const std::lock_guard lock(lock_);
    neighbourStates_.push_back(state);
}

HRESULT SinkFilter::Starting() {
    NoteNeighbour();
    return S_OK;
}

void SinkFilter::Running(REFERENCE_TIME /*start*/) {
    NoteNeighbour();
}

class SourceFilter::Pin final : public OutputPin {
public:
    explicit Pin(SourceFilter& owner) : OutputPin(owner, L"Out"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& /*type*/) override { return S_OK; }
    std::vector<MediaType> OfferedTypes() override { return owner_.offered; }

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override {
        return {.cBuffers = owner_.bufferCount, .cbBuffer = owner_.bufferBytes, .cbAlign = 1, .cbPrefix = 0};
    }

private:
    SourceFilter& owner_;
};

SourceFilter::SourceFilter() : BaseFilter(kSourceClass), pin_(&AddPin(std::make_unique<Pin>(*this))) {}

HRESULT SourceFilter::Send(ByteSpan data, std::optional<REFERENCE_TIME> time, bool discontinuity) {
    HRESULT result = S_OK;
    while (result == S_OK && !data.empty()) {
        ComPtr<IMediaSample> sample;
        BYTE* target = nullptr;
        result = pin_->GetBuffer(&sample);
        if (result != S_OK || FAILED(sample->GetPointer(&target))) {
            return FAILED(result) ? result : E_FAIL;
        }
        const std::size_t bytes =
            std::min<std::size_t>(data.size(), static_cast<std::size_t>(sample->GetSize()));
        std::memcpy(target, data.data(), bytes);
        data = data.subspan(bytes);
        (void)sample->SetActualDataLength(static_cast<long>(bytes));
        (void)sample->SetTime(time ? &*time : nullptr, nullptr);
        (void)sample->SetDiscontinuity(discontinuity ? TRUE : FALSE);
        result = pin_->Deliver(sample.Get());
        discontinuity = false;
        time.reset();
    }
    return result;
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
