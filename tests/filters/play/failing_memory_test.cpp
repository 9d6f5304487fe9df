// No memory: nothing is thrown at whoever calls a filter, no thread ends, and with memory again all is as
// before.
#include "tests/filters/play/failing_memory.h"

#include <array>

#include <windows.h>
#include <bdaiface.h>

#include "filters/base/guarded.h"
#include "filters/decoders/stream_types.h"
#include "filters/server/class_table.h"
#include "contract/maker_interfaces.h"
#include "filters/pictures/picture_types.h"
#include "tests/filters/play/playing_graph.h"

namespace vistrame::test {

namespace {

// All of the server's filters, made, run and let go with whatever memory there is. Without the system's
// graph: Wine's takes it for granted that a filter can always enumerate its pins.
class TightGraph {
public:
    // The first failure.
    HRESULT MakeAndRun() {
        if (Make()) {
            ForEachLink([this](IPin* output, IPin* input) { (void)Step(output->Connect(input, nullptr)); });
            Control();
            MapPids();
            Run();
        }
        return first_;
    }

private:
    enum Part : std::size_t { kFeed, kDemux, kVideo, kAudio, kPlatformDemux, kOsd, kMixer, kParts };

    bool Step(HRESULT result) {
        first_ = SUCCEEDED(first_) ? result : first_;
        return SUCCEEDED(result);
    }
    bool Make() {
        static constexpr std::array<const CLSID*, kParts> kIds{
            &CLSID_KorvixFeedFilter,     &CLSID_KorvixDemux,        &CLSID_VistrameVideoDecoder,
            &CLSID_VistrameAudioDecoder, &CLSID_MPEG2Demultiplexer, &CLSID_OsdSource,
            &CLSID_OverlayMixer};
        for (std::size_t i = 0; i < kParts; ++i) {
            const HRESULT made = Guarded([&] {
                return MakeObject<ClassFactory>(FindClass(*kIds[i])->create)
                    ->CreateInstance(nullptr, IID_PPV_ARGS(&filters_[i]));
            });
            if (!Step(made)) {
                return false;
            }
            (void)Step(filters_[i]->JoinFilterGraph(nullptr, L"a name"));
            ComPtr<IEnumPins> pins, clone;
            if (Step(filters_[i]->EnumPins(&pins))) {
                (void)Step(pins->Clone(&clone));
            }
        }
        return true;
    }
    template <class Call>
    void ForEachLink(Call call) {
        struct Link {
            Part from;
            const wchar_t* output;
            Part to;
            const wchar_t* input;
        };
        static constexpr std::array kLinks{
            Link{kFeed, L"TS Out", kDemux, L"TS In"}, Link{kDemux, L"Video Out", kVideo, L"In"},
            Link{kDemux, L"Audio Out", kAudio, L"In"}, Link{kVideo, L"Out", kMixer, L"Input0"}};
        for (const Link& link : kLinks) {
            ComPtr<IPin> output, input;
            if (Step(filters_[link.from]->FindPin(link.output, &output)) &&
                Step(filters_[link.to]->FindPin(link.input, &input))) {
                call(output.Get(), input.Get());
            }
        }
    }
    // What the player asks of them besides.
    void Control() {
        ComPtr<OsdSourceControl> osd;
        ComPtr<FeedData> feed;
        (void)Step(filters_[kDemux].As(&korvix_));
        (void)Step(filters_[kOsd].As(&osd));
        (void)Step(filters_[kFeed].As(&feed));
        (void)Step(osd->SetText("a text that is longer than a string holds by itself\r\n"));
        (void)Step(korvix_->AttachOsd(osd.Get()));
        (void)Step(korvix_->SetVideoType(1));
        (void)Step(korvix_->SetAudioType(2));
        (void)Step(korvix_->SetPids(0x100, 0x101, 0x102));
        const std::array<BYTE, 188> packet{0x47, 0x1F, 0xFF, 0x10};
        (void)Step(feed->DeliverData(packet.data(), packet.size()));
    }
    void MapPids() {
        ComPtr<IMpeg2Demultiplexer> demux;
        ComPtr<IPin> pin;
        ComPtr<IMPEG2PIDMap> map;
        AM_MEDIA_TYPE type{};
        type.majortype = MEDIATYPE_Video;
        type.subtype = MEDIASUBTYPE_MPEG2_VIDEO;
        wchar_t name[] = L"a pin";
        (void)Step(filters_[kPlatformDemux].As(&demux));
        if (Step(demux->CreateOutputPin(&type, name, &pin)) && Step(pin.As(&map))) {
            ULONG pid = 0x100;
            ComPtr<IEnumPIDMap> pids;
            ComPtr<IEnumMediaTypes> types;
            (void)Step(map->MapPID(1, &pid, MEDIA_ELEMENTARY_STREAM));
            (void)Step(map->EnumPIDMap(&pids));
            (void)Step(pin->EnumMediaTypes(&types));
            (void)Step(demux->DeleteOutputPin(name));
        }
    }
    void Run() {
        ComPtr<IReferenceClock> clock;
        DWORD_PTR cookie = 0;
        const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        (void)Step(filters_[kFeed].As(&clock));
        if (Step(clock->AdviseTime(1, 0, reinterpret_cast<HEVENT>(event), &cookie))) {
            EXPECT_EQ(WaitForSingleObject(event, kPatience), WAIT_OBJECT_0);
        }
        CloseHandle(event);
        for (const ComPtr<IBaseFilter>& filter : filters_) {
            (void)Step(filter->Run(0));
        }
        for (const ComPtr<IBaseFilter>& filter : filters_) {
            EXPECT_EQ(filter->Stop(), S_OK) << "that must work without memory";
        }
        ForEachLink([](IPin* output, IPin* input) {
            EXPECT_HRESULT_SUCCEEDED(output->Disconnect());
            EXPECT_HRESULT_SUCCEEDED(input->Disconnect());
        });
        EXPECT_EQ(korvix_->AttachOsd(nullptr), S_OK);
    }

    std::array<ComPtr<IBaseFilter>, kParts> filters_;
    ComPtr<KorvixDemux> korvix_;
    HRESULT first_ = S_OK;
};

} // namespace

// Nothing of it may stay behind either: every object counts as use of the server.
TEST(FailingMemory, AnyAllocationOfMakingAndRunningAGraphMayFail) {
    const CoInitialized com;
    ASSERT_EQ(TightGraph().MakeAndRun(), S_OK) << "with memory";
    unsigned failures = 0;
    for (unsigned nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        HRESULT result = S_OK;
        {
            const FailingMemory memory(nth, 1);
            result = TightGraph().MakeAndRun();
        }
        EXPECT_TRUE(ModuleUse::None());
        if (FailingMemory::Failed() == 0) {
            break; // all have had their turn
        }
        failures += FAILED(result) ? 1 : 0;
        EXPECT_TRUE(SUCCEEDED(result) || result == E_OUTOFMEMORY) << std::hex << result;
    }
    EXPECT_GT(failures, 50U);
}

TEST(FailingMemory, EveryNthAllocationMayFailThroughTwoSecondsOfPlay) {
    for (const unsigned every : {2U, 3U, 10U, 30U, 100U}) {
        SCOPED_TRACE(every);
        PlayingGraph play; // anew, so that its first pictures are among what fails
        Broadcast broadcast;
        play.graph.Run();
        {
            const FailingMemory memory(every);
            broadcast.Send(*play.feed, 2000);
        }
        EXPECT_GT(FailingMemory::Failed(), 0U);
        const auto pictures = play.pictures->timed.load();
        const auto sounds = play.sound->timed.load();
        broadcast.Send(*play.feed, 1500);
        EXPECT_TRUE(WaitUntil([&] { return play.pictures->timed > pictures + 10; }));
        EXPECT_TRUE(WaitUntil([&] { return play.sound->timed > sounds + 10; }));
        play.graph.Stop();
        EXPECT_EQ(ReadPictureType(play.pictures->Input().Type())->width, 720);
    }
}

} // namespace vistrame::test
