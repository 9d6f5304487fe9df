// The maker's demultiplexer: fixed pins by number, stall counts, its state on a display.
#include <windows.h>
#include <dshow.h>
#include <dvdmedia.h>
#include <mmreg.h>

#include "filters/demux/korvix_demux.h"
#include "tests/filters/live_programme.h"

namespace vistrame::test {

namespace {

constexpr GUID kH264 = {0x34363248, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
constexpr GUID kHevc = {0x43564548, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
constexpr GUID kLoas = {0x00001602, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
constexpr GUID kDdPlus = {0xa7fb87af, 0x2d02, 0x42fb, {0xa4, 0xd4, 0x05, 0xcd, 0x93, 0x84, 0x3b, 0xdd}};

struct Korvix {
    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    KorvixDemuxFilter* demux = graph.Add(MakeObject<KorvixDemuxFilter>(), L"demux");
    SinkFilter* video = graph.Add(MakeObject<SinkFilter>(), L"video");
    SinkFilter* audio = graph.Add(MakeObject<SinkFilter>(), L"audio");
    LiveProgramme programme{*source};

    Korvix() {
        MediaType type(MEDIATYPE_Stream, MEDIASUBTYPE_MPEG2_TRANSPORT);
        type.SetFormat(FORMAT_None, {});
        source->offered = {type};
        EXPECT_EQ(graph.Connect(&source->Output(), PinOf(demux, L"TS In").Get()), S_OK);
    }
    void ConnectBoth() {
        EXPECT_EQ(graph.Connect(PinOf(demux, L"Video Out").Get(), &video->Input()), S_OK);
        EXPECT_EQ(graph.Connect(PinOf(demux, L"Audio Out").Get(), &audio->Input()), S_OK);
    }
    void Select() {
        const auto& recipe = programme.recipe;
        EXPECT_EQ(demux->SetPids(recipe.videoPid, recipe.audioPid, recipe.videoPid), S_OK);
    }
    ULONG Stall(ULONG stream) {
        ULONG count = 0;
        EXPECT_EQ(demux->GetStallCount(stream, &count), S_OK);
        return count;
    }
};

class Display final : public WithInterfaces<ComObject, OsdSourceControl> {
public:
    HRESULT STDMETHODCALLTYPE SetSize(ULONG, ULONG, ULONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Reserved1() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reserved2() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetText(const char* text) override {
        const std::lock_guard lock(lock_);
        text_ = text;
        ++count_;
        return S_OK;
    }
    std::string Text() const {
        const std::lock_guard lock(lock_);
        return text_;
    }
    int Count() const {
        const std::lock_guard lock(lock_);
        return count_;
    }

private:
    mutable std::mutex lock_;
    std::string text_;
    int count_ = 0;
};

} // namespace

TEST(KorvixDemux, OffersTheTypesOfItsNumbers) {
    struct Row {
        ULONG videoType, audioType;
        GUID video, audio, videoFormat;
        ULONG audioBlock;
    };
    const Row rows[] = {
        {0, 0, MEDIASUBTYPE_MPEG2_VIDEO, MEDIASUBTYPE_MPEG2_AUDIO, FORMAT_MPEG2Video,
         sizeof(MPEG1WAVEFORMAT)},
        {1, 1, kH264, MEDIASUBTYPE_DOLBY_AC3, FORMAT_MPEG2Video, sizeof(WAVEFORMATEX)},
        {2, 2, kHevc, kLoas, GUID_NULL, 20},
        {7, 3, kHevc, kDdPlus, GUID_NULL, sizeof(WAVEFORMATEX)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.videoType);
        Korvix korvix;
        EXPECT_EQ(korvix.demux->SetAudioType(row.audioType), S_OK);
        EXPECT_EQ(korvix.demux->SetVideoType(row.videoType), S_OK);
        korvix.ConnectBoth();
        const MediaType video = korvix.video->Input().Type();
        const MediaType audio = korvix.audio->Input().Type();
        EXPECT_EQ(video->subtype, row.video);
        EXPECT_EQ(video->formattype, row.videoFormat);
        EXPECT_EQ(audio->subtype, row.audio);
        EXPECT_EQ(audio->formattype, FORMAT_WaveFormatEx);
        EXPECT_EQ(audio->cbFormat, row.audioBlock);
    }
    Korvix silent;
    EXPECT_EQ(silent.demux->SetAudioType(4), S_OK);
    EXPECT_TRUE(
        FAILED(silent.graph.Connect(PinOf(silent.demux, L"Audio Out").Get(), &silent.audio->Input())));
}

TEST(KorvixDemux, TakesTheTypesThePlayerConnectsWith) {
    MediaType h264(MEDIATYPE_Video, kH264);
    MPEG2VIDEOINFO info{};
    info.hdr.bmiHeader.biWidth = 1280;
    h264.SetFormat(FORMAT_MPEG2Video, info);
    ASSERT_EQ(h264->cbFormat, 136u);
    const MediaType hevc(MEDIATYPE_Video, kHevc); // no format block
    for (const auto& [videoType, type] : {std::pair{1u, h264}, std::pair{2u, hevc}}) {
        Korvix korvix;
        EXPECT_EQ(korvix.demux->SetVideoType(videoType), S_OK);
        const auto pin = PinOf(korvix.demux, L"Video Out");
        ASSERT_EQ(korvix.graph.Connect(pin.Get(), &korvix.video->Input(), &type.Get()), S_OK);
        EXPECT_TRUE(korvix.video->Input().Type() == type);
    }
    Korvix korvix;
    const auto pin = PinOf(korvix.demux, L"Video Out");
    EXPECT_TRUE(FAILED(korvix.graph.Connect(pin.Get(), &korvix.video->Input(), &h264.Get())))
        << "not its coding";
}

TEST(KorvixDemux, PlaysThePairItIsGivenAndCountsStalls) {
    Korvix korvix;
    korvix.ConnectBoth();
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone);
    korvix.Select();
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone) << "not running";
    korvix.graph.Run();
    korvix.programme.Send(20);
    ASSERT_TRUE(WaitUntil([&] { return korvix.video->Count() >= 15 && korvix.audio->Count() >= 20; }));
    EXPECT_LE(korvix.Stall(0), 2u);
    EXPECT_LE(korvix.Stall(1), 2u);
    ULONG count = 0;
    EXPECT_EQ(korvix.demux->GetStallCount(2, &count), E_INVALIDARG);
    EXPECT_EQ(count, StallCounter::kNone);

    korvix.programme.damage = [&](std::vector<TsBuilder::Packet>& packets) { // the video stops
        std::erase_if(packets, [&](const TsBuilder::Packet& packet) {
            return ((packet[1] & 0x1F) << 8 | packet[2]) == korvix.programme.recipe.videoPid;
        });
    };
    korvix.programme.Send(20);
    EXPECT_GE(korvix.Stall(0), 6u);
    EXPECT_LE(korvix.Stall(1), 2u);
    korvix.graph.Stop();
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone);
    korvix.graph.Run();
    EXPECT_GE(korvix.Stall(0), 6u) << "restarting the graph does not bring the stream back";
    EXPECT_EQ(korvix.demux->SetPids(kNullPid, korvix.programme.recipe.audioPid, kNullPid), S_OK);
    EXPECT_EQ(korvix.Stall(0), StallCounter::kNone);
}

TEST(KorvixDemux, FindsTheClockThatTheTableNames) {
    Korvix korvix;
    korvix.programme.recipe.pcrPid = 0x1F0; // the caller says the video PID
    korvix.ConnectBoth();
    korvix.Select();
    const auto display = MakeObject<Display>();
    EXPECT_EQ(korvix.demux->AttachOsd(display.Get()), S_OK);
    korvix.graph.Run();
    korvix.programme.Send(30);
    EXPECT_TRUE(WaitUntil([&] { return display->Text().find("Clock: PID 01F0\r\n") != std::string::npos; }))
        << display->Text();
}

TEST(KorvixDemux, ShowsItsStateTwiceASecondUntilDetached) {
    Korvix korvix;
    korvix.ConnectBoth();
    const auto display = MakeObject<Display>();
    const auto shows = [&](const char* text) {
        return WaitUntil([&] { return display->Text().find(text) != std::string::npos; });
    };
    EXPECT_EQ(korvix.demux->AttachOsd(display.Get()), S_OK);
    EXPECT_TRUE(shows("Video: no PID selected\r\n")) << display->Text();
    korvix.Select();
    korvix.graph.Run();
    EXPECT_TRUE(shows("Video: no data\r\n")) << display->Text();
    const int before = display->Count();
    korvix.programme.Send(40);
    EXPECT_GE(display->Count() - before, 2);
    EXPECT_TRUE(shows("Video: PID 0101")) << display->Text();
    EXPECT_NE(display->Text().find("Delay against the clock: "), std::string::npos) << display->Text();
    EXPECT_EQ(korvix.demux->AttachOsd(nullptr), S_OK);
    const int last = display->Count();
    Sleep(700);
    EXPECT_EQ(display->Count(), last);
    EXPECT_EQ(korvix.demux->AttachOsd(display.Get()), S_OK);
    // The graph's end finds no reference left, the display's either.
}

} // namespace vistrame::test
