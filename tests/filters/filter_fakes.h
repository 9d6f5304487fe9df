// Source and sink filters that a test puts around the filter under test, in the system's own filter graph.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filters/base/input_pin.h"
#include "filters/base/output_pin.h"
#include "transport/bytes.h"

namespace vistrame::test {

using Bytes = std::vector<std::uint8_t>;

// Bound of every wait: far above what anything takes, far below what a test run is given.
inline constexpr DWORD kPatience = 5000; // milliseconds
// Something that is still blocked after this is called blocked.
inline constexpr DWORD kBlocked = 100; // milliseconds

// Polls until it is true or the patience ends.
bool WaitUntil(const std::function<bool()>& condition);

class CoInitialized {
public:
    CoInitialized() { EXPECT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)); }
    ~CoInitialized() { CoUninitialize(); }
    CoInitialized(const CoInitialized&) = delete;
    CoInitialized& operator=(const CoInitialized&) = delete;
};

// Takes whatever is delivered and keeps a record of it.
class SinkFilter final : public BaseFilter {
public:
    struct Sample {
        Bytes data;
        std::optional<REFERENCE_TIME> time;
        bool discontinuity = false;
        bool syncPoint = false;
        std::optional<REFERENCE_TIME> lead; // of its time before stream time, as it came in
        DWORD tick = 0;                     // milliseconds, as it came in
    };

    SinkFilter();

    InputPin& Input() { return *pin_; }

    // Set before connecting.
    std::function<HRESULT(const MediaType&)> check = [](const MediaType&) { return S_OK; };
    std::vector<MediaType> offered;
    bool ownAllocatorOnly = false; // refuses every other

    // What Receive answers.
    void Answer(HRESULT result);
    // Receive waits until it is unblocked, flushed or stopped.
    void Block(bool blocked);
    bool InReceive() const;

    std::vector<Sample> Samples() const;
    std::size_t Count() const;
    void Forget();
    int EndsOfStream() const;
    int Segments() const;
    int Flushes() const; // finished ones
    // States of the connected upstream filter as seen in this filter's own Stop, Pause and Run.
    std::vector<FILTER_STATE> NeighbourStates() const;

protected:
    HRESULT Starting() override;
    void Running(REFERENCE_TIME start) override;

private:
    class Pin;

    ~SinkFilter() override;
    void NoteNeighbour();

    mutable std::mutex lock_; // guards what follows
    std::condition_variable changed_;
    HRESULT answer_ = S_OK;
    bool blocked_ = false;
    bool freed_ = false; // by a flush or by stopping
    bool inReceive_ = false;
    std::vector<Sample> samples_;
    int ends_ = 0;
    int segments_ = 0;
    int flushes_ = 0;
    std::vector<FILTER_STATE> neighbourStates_;
    InputPin* pin_;
};

// Delivers what a test tells it to, on the test's own thread.
class SourceFilter final : public BaseFilter {
public:
    SourceFilter();

    OutputPin& Output() { return *pin_; }

    std::vector<MediaType> offered; // set before connecting
    long bufferBytes = 1 << 16;
    long bufferCount = 2;

    HRESULT Send(ByteSpan data, std::optional<REFERENCE_TIME> time = std::nullopt,
                 bool discontinuity = false);

private:
    class Pin;

    ~SourceFilter() override { (void)Stop(); }

    OutputPin* pin_;
};

// A filter graph with the filters a test adds. Its end checks that nothing keeps a filter alive.
class TestGraph {
public:
    TestGraph();
    ~TestGraph();
    TestGraph(const TestGraph&) = delete;
    TestGraph& operator=(const TestGraph&) = delete;

    // The graph keeps a reference; the caller's is a plain pointer for as long as the graph lives.
    template <class Filter>
    Filter* Add(ComPtr<Filter> filter, const wchar_t* name) {
        EXPECT_EQ(graph->AddFilter(filter.Get(), name), S_OK);
        filters_.emplace_back(filter.Get());
        return filter.Get();
    }
    HRESULT Connect(IPin* from, IPin* to, const AM_MEDIA_TYPE* type = nullptr) {
        return graph->ConnectDirect(from, to, type);
    }
    void Run();
    void Pause() { EXPECT_HRESULT_SUCCEEDED(control->Pause()); }
    void Stop() { EXPECT_HRESULT_SUCCEEDED(control->Stop()); }

    ComPtr<IGraphBuilder> graph;
    ComPtr<IMediaControl> control;

private:
    CoInitialized com_;
    std::vector<ComPtr<IBaseFilter>> filters_;
};

// The pin of that name, with the reference it needs; fails the test when there is none.
ComPtr<IPin> PinOf(IBaseFilter* filter, const wchar_t* name);

} // namespace vistrame::test
