#pragma once

#include <functional>
#include <vector>

#include "filters/base/base_filter.h"
#include "filters/base/input_pin.h"
#include "filters/base/output_pin.h"
#include "tests/filters/decoders/stream_fixture.h"

namespace vistrame {

// A source that delivers what it is given, on the caller's thread. One pin, "Out".
class PushSource final : public BaseFilter {
public:
    explicit PushSource(MediaType type);

    OutputPin& Pin() const { return pin_; }
    HRESULT Push(const StreamPiece& piece, REFERENCE_TIME offset = 0);

private:
    class SourcePin;
    ~PushSource() override = default;

    OutputPin& pin_;
};

// What arrived at a recording renderer.
struct ReceivedSample {
    std::optional<REFERENCE_TIME> start;
    REFERENCE_TIME stop = 0;
    bool discontinuity = false;
    MediaType type; // in force
    std::vector<std::uint8_t> data;
};

// A renderer that never waits and keeps what it receives. One pin, "In". The answers below decide which types it
// takes; one unset takes everything.
class RecordingRenderer final : public BaseFilter {
public:
    RecordingRenderer();

    InputPin& Pin() const { return pin_; }

    std::function<bool(const MediaType&)> accepts;
    bool reconnects = true;                              // takes a type by ReceiveConnection while running
    std::function<void(const ReceivedSample&)> onSample; // instead of keeping it

    std::vector<ReceivedSample> Take();

private:
    class RendererPin;
    ~RecordingRenderer() override = default;

    InputPin& pin_;
    std::mutex lock_;
    std::vector<ReceivedSample> samples_;
};

} // namespace vistrame
