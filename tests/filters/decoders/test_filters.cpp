#include "tests/filters/decoders/test_filters.h"

#include <cstring>

namespace vistrame {

namespace {

constexpr CLSID kTestSource = {0x0a51e0c1, 0x77b2, 0x4c0e, {0x90, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x01}};
constexpr CLSID kTestRenderer = {
    0x0a51e0c1, 0x77b2, 0x4c0e, {0x90, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x02}};
constexpr long kPieceBytes = 4 << 20; // more than any piece of the fixtures

} // namespace

class PushSource::SourcePin final : public OutputPin {
public:
    SourcePin(BaseFilter& filter, MediaType type) : OutputPin(filter, L"Out"), type_(std::move(type)) {}

    HRESULT CheckMediaType(const MediaType& /*type*/) override { return S_OK; }
    std::vector<MediaType> OfferedTypes() override { return {type_}; }

protected:
    ALLOCATOR_PROPERTIES NeededBuffers() override { return {2, kPieceBytes, 1, 0}; }

private:
    const MediaType type_;
};

PushSource::PushSource(MediaType type)
    : BaseFilter(kTestSource), pin_(AddPin(std::make_unique<SourcePin>(*this, std::move(type)))) {}

HRESULT PushSource::Push(const StreamPiece& piece, REFERENCE_TIME offset) {
    ComPtr<IMediaSample> sample;
    BYTE* buffer = nullptr;
    HRESULT result = pin_.GetBuffer(&sample);
    if (SUCCEEDED(result)) {
        result = sample->GetPointer(&buffer);
    }
    if (FAILED(result)) {
        return result;
    }
    std::memcpy(buffer, piece.data.data(), piece.data.size());
    (void)sample->SetActualDataLength(static_cast<long>(piece.data.size()));
    REFERENCE_TIME start = piece.time.value_or(0) + offset;
    REFERENCE_TIME stop = start + 1;
    (void)sample->SetTime(piece.time ? &start : nullptr, piece.time ? &stop : nullptr);
    (void)sample->SetDiscontinuity(piece.discontinuity ? TRUE : FALSE);
    return pin_.Deliver(sample.Get());
}

class RecordingRenderer::RendererPin final : public InputPin {
public:
    explicit RendererPin(RecordingRenderer& owner) : InputPin(owner, L"In"), owner_(owner) {}

    HRESULT CheckMediaType(const MediaType& type) override {
        return !owner_.accepts || owner_.accepts(type) ? S_OK : VFW_E_TYPE_NOT_ACCEPTED;
    }

protected:
    bool AcceptsTypeChange() const override { return owner_.reconnects; }
    HRESULT OnReceive(IMediaSample* sample) override {
        ReceivedSample received;
        REFERENCE_TIME start = 0;
        if (SUCCEEDED(sample->GetTime(&start, &received.stop))) {
            received.start = start;
        }
        received.discontinuity = sample->IsDiscontinuity() == S_OK;
        received.type = Type();
        BYTE* data = nullptr;
        if (SUCCEEDED(sample->GetPointer(&data))) {
            received.data.assign(data, data + sample->GetActualDataLength());
        }
        if (owner_.onSample) {
            owner_.onSample(received);
            return S_OK;
        }
        const std::lock_guard lock(owner_.lock_);
        owner_.samples_.push_back(std::move(received));
        return S_OK;
    }

private:
    RecordingRenderer& owner_;
};

RecordingRenderer::RecordingRenderer()
    : BaseFilter(kTestRenderer), pin_(AddPin(std::make_unique<RendererPin>(*this))) {}

std::vector<ReceivedSample> RecordingRenderer::Take() {
    const std::lock_guard lock(lock_);
    return std::exchange(samples_, {});
}

} // namespace vistrame
