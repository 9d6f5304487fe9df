#include "filters/feed/feed_filter.h"

#include <span>
#include <utility>

#include "filters/base/guarded.h"
#include "filters/kept/kept_stream.h"

namespace vistrame {

namespace {

// Whole transport packets, so that aligned data stays aligned; about 30 ms of a 16 Mbit/s stream.
constexpr long kSampleBytes = 188L * 348;
constexpr long kSampleCount = 16;

} // namespace

class FeedFilter::TsOutPin final : public OutputPin {
public:
    explicit TsOutPin(FeedFilter& owner) : OutputPin(owner, L"TS Out"), owner_(owner) {}

    HRESULT Activate() override {
        const HRESULT result = OutputPin::Activate();
        if (SUCCEEDED(result) && IsConnected()) {
            owner_.Start();
        }
        return result;
    }

    void Deactivate() override {
        owner_.queue_.BeginStop();
        OutputPin::Deactivate(); // frees the worker from waiting for a buffer
        owner_.queue_.Stop();
    }

    HRESULT CheckMediaType(const MediaType& type) override {
        return type->majortype == MEDIATYPE_Stream && type->subtype == MEDIASUBTYPE_MPEG2_TRANSPORT
                   ? S_OK
                   : VFW_E_TYPE_NOT_ACCEPTED;
    }

    std::vector<MediaType> OfferedTypes() override {
        MediaType type(MEDIATYPE_Stream, MEDIASUBTYPE_MPEG2_TRANSPORT);
        type.SetFormat(FORMAT_None, {});
        return {type};
    }

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override {
        return {.cBuffers = kSampleCount, .cbBuffer = kSampleBytes, .cbAlign = 1, .cbPrefix = 0};
    }

private:
    FeedFilter& owner_;
};

FeedFilter::FeedFilter()
    : WithReferenceClock(CLSID_KorvixFeedFilter),
      queue_(kQueueItems, kQueueBytes),
      pin_(AddPin(std::make_unique<TsOutPin>(*this))) {}

HRESULT FeedFilter::DeliverData(const BYTE* data, ULONG length) {
    if (length == 0) {
        return S_OK;
    }
    if (data == nullptr) {
        return E_POINTER;
    }
    return Guarded([&] {
        const std::lock_guard lock(pushLock_);
        KeptStreamOfProcess().Append({data, length}, !std::exchange(unkept_, false));
        if (started_ && !queue_.Running()) {
            missing_ = true;
            return S_OK;
        }
        const bool dropped = FAILED(Guarded([&] { return Keep({data, length}); }));
        droppedBytes_ += dropped ? length : 0;
        if (dropped != dropping_) {
            Trace(*this, dropped ? ": drops, no room; so far " : ": takes data again; dropped so far ",
                  droppedBytes_.load(), " bytes");
        }
        missing_ = dropping_ = dropped;
        return S_OK;
    });
}

HRESULT FeedFilter::Keep(std::span<const BYTE> data) {
    Block block{.bytes = std::make_shared<const std::vector<BYTE>>(data.begin(), data.end()),
                .discontinuity = missing_};
    if (!started_) {
        KeepEarly(std::move(block));
        return S_OK;
    }
    return queue_.TryPush(std::move(block), data.size()) ? S_OK : E_OUTOFMEMORY;
}

void FeedFilter::KeepEarly(Block block) {
    const auto now = std::chrono::steady_clock::now();
    const std::size_t bytes = block.bytes->size();
    early_.push_back({std::move(block), now});
    earlyBytes_ += bytes;
    while (earlyBytes_ > kQueueBytes || early_.front().arrival < now - kEarly) {
        earlyBytes_ -= early_.front().block.bytes->size();
        early_.pop_front();
    }
}

void FeedFilter::Start() {
    const std::lock_guard lock(pushLock_);
    failed_ = false;
    queue_.Start([this](Block& block) { Send(block); });
    const auto oldest = std::chrono::steady_clock::now() - kEarly;
    for (EarlyBlock& early : early_) {
        if (const std::size_t bytes = early.block.bytes->size(); early.arrival >= oldest) {
            missing_ = !queue_.TryPush(std::move(early.block), bytes) || missing_;
        }
    }
    if (!started_) {
        Trace(*this, ": first start, ", earlyBytes_, " bytes came before");
    }
    early_.clear();
    started_ = true;
}

HRESULT FeedFilter::SendDiscontinuity() {
    return Guarded([&] {
        const std::lock_guard lock(pushLock_);
        KeptStreamOfProcess().Forget();
        missing_ = true;
        Trace(*this, ": discontinuity announced");
        return S_OK;
    });
}

HRESULT FeedFilter::SetPids2(ULONG value) {
    Trace(*this, ": SetPids2 ", Hex{static_cast<std::uint32_t>(value)}); // nothing here depends on it
    return S_OK;
}

HRESULT FeedFilter::SetMode(ULONG /*mode*/, ULONG /*option*/) {
    return S_OK; // pushing live data is the only mode there is
}

void FeedFilter::Send(const Block& block) {
    const bool failed =
        pin_.SendWhole(block.bytes, *block.bytes, {.discontinuity = block.discontinuity || failed_}) != S_OK;
    if (failed != failed_) {
        Trace(pin_, failed ? ": refused downstream" : ": taken downstream again");
    }
    failed_ = failed;
}

} // namespace vistrame
