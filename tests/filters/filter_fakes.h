// Source and sink filters that a test puts around the filter under test, in the system's own filter graph.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>
#include <dshow.h>
#include <dvdmedia.h>

#include "filters/base/input_pin.h"
#include "filters/base/output_pin.h"
#include "filters/base/reference_time.h"
#include "filters/base/subtypes.h"
#include "contract/maker_interfaces.h"
#include "transport/bytes.h"

namespace vistrame::test {

using Bytes = std::vector<std::uint8_t>;

inline constexpr REFERENCE_TIME kMs = kUnitsPerMillisecond;

inline constexpr GUID kLatm = NumberedSubtype(0x1602);
inline constexpr GUID kDigitalPlus = {
    0xa7fb87af, 0x2d02, 0x42fb, {0xa4, 0xd4, 0x05, 0xcd, 0x93, 0x84, 0x3b, 0xdd}};

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
class SinkFilter : public BaseFilter {
public:
    struct Sample {
        Bytes data;
        const std::uint8_t* at = nullptr; // where it was
        std::optional<REFERENCE_TIME> time;
        REFERENCE_TIME stop = 0;
        bool discontinuity = false;
        bool syncPoint = false;
        std::optional<REFERENCE_TIME> lead; // of its time before stream time, as it came in
        DWORD tick = 0;                     // milliseconds, as it came in
    };
    struct Record {
        std::vector<Sample> samples;
        int ends = 0; // of stream
        int segments = 0;
        int flushes = 0; // finished ones
        bool inReceive = false;
    };

    SinkFilter();

    InputPin& Input() { return *pin_; }

    // Set before connecting.
    std::function<HRESULT(const MediaType&)> check = [](const MediaType&) { return S_OK; };
    std::function<void()> atSegment = [] {}; // as a new one comes in
    std::vector<MediaType> offered;
    bool reconnects = true; // while running
    bool readsInPlace = false;
    // Keeps the last sample until a flush, and refuses to reconnect with it.
    bool holds = false;
    // Like a renderer with surfaces: changes how pictures are to be laid out in the buffers, which then carry
    // the type, until the pin has one in which this leaves nothing to change (false).
    std::function<bool(VIDEOINFOHEADER2&)> layOut;
    // How often that allocator was decommitted while somebody took a buffer.
    std::atomic<int> decommittedMeanwhile = 0;

    // Receive waits until it is unblocked, flushed or stopped.
    void Block(bool blocked);

    Record Seen() const;
    std::vector<Sample> Samples() const { return Seen().samples; }
    std::size_t Count() const;
    // Waits for so many samples in all.
    bool Await(std::size_t count) const;
    bool AwaitReceive() const;
    void Forget();

protected:
    ~SinkFilter() override { (void)Stop(); }

    // Before a sample goes into the record; on the thread that delivers it.
    virtual void Look(ByteSpan data, Sample& sample) { sample.data.assign(data.begin(), data.end()); }

    mutable std::mutex lock_; // guards what follows

private:
    class Pin;

    std::condition_variable changed_;
    bool blocked_ = false;
    bool freed_ = false; // by a flush or by stopping
    Record record_;
    ComPtr<IMediaSample> held_;
    InputPin* pin_;
};

// Delivers what a test tells it to, on the test's own thread.
class SourceFilter final : public BaseFilter {
public:
    static constexpr long kBufferBytes = 4 << 20; // any picture of the tests' streams

    SourceFilter();

    OutputPin& Output() { return *pin_; }

    std::vector<MediaType> offered; // set before connecting

    HRESULT Send(ByteSpan data, std::optional<REFERENCE_TIME> time = std::nullopt,
                 bool discontinuity = false);

private:
    class Pin;

    ~SourceFilter() override { (void)Stop(); }

    OutputPin* pin_;
};

// Keeps the texts that it is to show.
class Display final : public WithInterfaces<ComObject, OsdSourceControl> {
public:
    std::function<void()> onText = [] {}; // on the thread that sets it

    HRESULT STDMETHODCALLTYPE SetSize(ULONG, ULONG, ULONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Reserved1() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved2() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetText(const char* text) override;

    std::vector<std::string> Texts() const;
    std::string Text() const { return Texts().empty() ? "" : Texts().back(); }
    bool AwaitAnother() const;

private:
    ~Display() override = default;

    mutable std::mutex lock_;
    std::vector<std::string> texts_;
};

// The vistrame.ax of the build that this program is from, loaded once more.
HMODULE LoadServer();

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
