// The build as a whole: what is created, set and connected in which order, what each failure says and leaves
// behind, and which references outlive the graph.

#include "tests/player/graph/build_fixture.h"

#include <atomic>
#include <functional>
#include <set>

#include <gmock/gmock.h>

#include "player/graph/audio_unmute.h"
#include "player/graph/audio_volume.h"
#include "player/graph/com.h"
#include "player/graph/overlay_surface.h"
#include "tests/support/playback_fakes.h"

namespace {

std::uint32_t NoDirect3D = 0;

} // namespace

// Takes the place of the import, so that Direct3D can be missing; otherwise the platform's.
IDirect3D9* WINAPI Direct3DCreate9(UINT version) {
    if (NoDirect3D != 0) {
        return nullptr;
    }
    FARPROC real = GetProcAddress(LoadLibraryA("d3d9.dll"), "Direct3DCreate9");
    return reinterpret_cast<decltype(&Direct3DCreate9)>(reinterpret_cast<void*>(real))(version);
}

namespace vistrame::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(BuildGraph, PlatformDemultiplexerAndVmr9) {
    BuildFixture fixture;
    PendingPids2 = 0x0123;
    fixture.platform.volume = -1200;
    ASSERT_EQ(fixture.Build(), 1);
    const std::string owner = std::to_string(reinterpret_cast<LONG_PTR>(fixture.window));
    const Lines calls = {
        "create graph", "create audio decoder", "create video decoder",
        "graph.AddFilter(audio decoder, \"Cyberlink Audio\")",
        "graph.AddFilter(video decoder, \"Cyberlink Video\")", //
        "create feed", "graph.AddFilter(feed, \"Korvix TS Feed Filter\")", "feed.SetPids2(291)",
        "feed.SetMode(3, 0)", "create demux", "graph.AddFilter(demux, \"MPEG2 Demux\")",
        "graph.ConnectDirect(feed/TS Out, demux/MPEG-2 Stream, no type)",
        "demux.CreateOutputPin(\"Video Out\", video/MPEG2 MPEG2VIDEOINFO 1136)",
        "graph.ConnectDirect(demux/Video Out, video decoder/Video In, no type)", //
        "create sound", "sound.get_Volume", "graph.AddFilter(sound, \"Audio Out\")",
        "demux.CreateOutputPin(\"Audio Out\", audio/MPEG WAVEFORMATEX 40)",
        "graph.ConnectDirect(demux/Audio Out, audio decoder/XForm In, no type)",
        "graph.ConnectDirect(audio decoder/Side Out, sound/Audio Input pin, no type)", //
        "create VMR9", "VMR9.Query 56A86895", "graph.AddFilter(VMR9, \"VMR9\")",
        // Statistics, configuration, windowless control, mixer, stream control.
        "VMR9.Query 1BD0ECB0", "VMR9.Query 5A804648", "VMR9.Query 0EB1088C", "VMR9.Query CED175E5",
        "VMR9.Query D0CFE38B", "VMR9.SetNumberOfStreams(1)",
        "graph.ConnectDirect(video decoder/Video Out, VMR9/VMR Input0, no type)", //
        "graph.put_Owner(" + owner + ")", Line("graph.put_WindowStyle(%ld)", WS_CHILD | WS_CLIPSIBLINGS),
        "graph.put_MessageDrain(" + owner + ")", "graph.SetWindowPosition(0, 0, 640, 360)",
        "graph.put_Caption(\"Caption\")"};
    EXPECT_EQ(fixture.Calls(), calls);
    EXPECT_EQ(TargetVolume, -1200);
    EXPECT_EQ(fixture.Log(), "");
    EXPECT_THAT(fixture.boxes.shown, IsEmpty());

    // Built once, it is only started again.
    EXPECT_EQ(fixture.Build(), 0);
    EXPECT_THAT(fixture.Calls(), ElementsAre("graph.Run"));
}

TEST(BuildGraph, KorvixDemultiplexerAndOverlayMixer) {
    BuildFixture fixture;
    KorvixCodec = 1;
    UseVMR9 = 0;
    ASSERT_EQ(fixture.Build(), 1);
    const Lines calls = {"create korvix demux",
                         "korvix demux.SetAudioType(0)",
                         "korvix demux.SetVideoType(0)",
                         "graph.AddFilter(korvix demux, \"MPEG2 Demux\")",
                         "graph.ConnectDirect(feed/TS Out, korvix demux/TS In, no type)",
                         "graph.ConnectDirect(korvix demux/Video Out, video decoder/Video In, no type)",
                         "graph.ConnectDirect(korvix demux/Audio Out, audio decoder/XForm In, no type)",
                         "create overlay mixer",
                         "graph.AddFilter(overlay mixer, \"Overlay Mixer\")",
                         "graph.Render(overlay mixer/Output)",
                         "graph.ConnectDirect(video decoder/Video Out, overlay mixer/Input0, no type)"};
    EXPECT_EQ(Matching(fixture.Calls(), {"demux", "overlay"}), calls);
}

// How video and audio of each coding leave either demultiplexer.
TEST(BuildGraph, CodingsDecideTypesAndConnections) {
    const struct {
        std::uint32_t korvix;
        std::int32_t video, audio;
        std::uint32_t mpeg2Codec; // counts for the audio type whatever the video is
        std::string videoType, audioType;
    } rows[] = {
        {0, 1, 1, 8, "video/H264 none 1136", "none/AC3 WAVEFORMATEX 18"},
        {0, 2, 2, 8, "video/HEVC none 1136", "audio/LATM WAVEFORMATEX 20"},
        {0, -1, 3, 2, "video/HEVC none 1136", "audio/EAC3 WAVEFORMATEX 18"},
        {1, 1, 1, 2, "video/H264 MPEG2VIDEOINFO 136", ""},
        {1, 7, -1, 2, "video/HEVC", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Line("korvix %u video %d audio %d", row.korvix, row.video, row.audio));
        BuildFixture fixture("93509808-E912-46EF-BB97-0BFFE8655E60", "D12E285B-3B29-4416-BA8E-79BD81D193CC");
        KorvixCodec = row.korvix;
        VideoType = row.video;
        AudioType = row.audio;
        MPEG2Codec = row.mpeg2Codec;
        EXPECT_EQ(fixture.Build(), 1);
        Lines calls;
        if (row.korvix != 0) {
            calls = {
                Line("korvix demux.SetAudioType(%u)", row.audio),
                Line("korvix demux.SetVideoType(%u)", row.video),
                "graph.ConnectDirect(korvix demux/Video Out, video decoder/Video In, " + row.videoType + ")",
                "graph.Render(korvix demux/Audio Out)"};
        } else {
            calls = {"demux.CreateOutputPin(\"Video Out\", " + row.videoType + ")",
                     "graph.ConnectDirect(demux/Video Out, video decoder/Video In, no type)",
                     "demux.CreateOutputPin(\"Audio Out\", " + row.audioType + ")",
                     "graph.Render(demux/Audio Out)"};
        }
        const Lines all = fixture.Calls();
        EXPECT_EQ(Matching(all, {"CreateOutputPin", "ux/Video Out", "ux/Audio Out", "Type("}), calls);
        EXPECT_EQ(Matching(all, {"graph.RemoveFilter(audio decoder)"}).size(), row.audio == 1 ? 1U : 0U);
    }
}

TEST(BuildGraph, ClockSourceChoosesTheClockAtItsStep) {
    const struct {
        std::int32_t source;
        std::string clock, before; // the line and the one before it
    } rows[] = {{1, "graph.SetSyncSource(demux)", "graph.AddFilter(demux, \"MPEG2 Demux\")"},
                {2, "graph.SetSyncSource(sound)", "create sound"},
                {3, "graph.SetSyncSource(feed)", "feed.SetPids2(8191)"},
                {4, "", ""}};
    for (const auto& [source, clock, before] : rows) {
        SCOPED_TRACE(source);
        BuildFixture fixture;
        ClockSource = source;
        EXPECT_EQ(fixture.Build(), 1);
        const Lines calls = fixture.Calls();
        const auto set = std::ranges::find_if(
            calls, [](const std::string& call) { return call.starts_with("graph.SetSyncSource"); });
        ASSERT_EQ(set != calls.end(), !clock.empty());
        if (set != calls.end()) {
            EXPECT_EQ(set[0], clock);
            EXPECT_EQ(set[-1], before);
        }
    }
}

TEST(BuildGraph, DebugOsdFeedsTheSecondInput) {
    for (const std::uint32_t korvix : {0U, 1U}) {
        SCOPED_TRACE(korvix);
        BuildFixture fixture;
        KorvixCodec = korvix;
        DebugOSD = 1;
        EXPECT_EQ(fixture.Build(), 1);
        const Lines calls = {"VMR9.SetNumberOfStreams(2)",
                             "create OSD source",
                             korvix != 0 ? "korvix demux.AttachOsd(OSD source)" : "OSD source.SetText",
                             "OSD source.SetSize(1920, 1080, 1)",
                             "graph.AddFilter(OSD source, \"OSD Generator\")",
                             "graph.ConnectDirect(OSD source/1, VMR9/VMR Input1, no type)"};
        EXPECT_EQ(Matching(fixture.Calls(), {"SetNumber", "OSD", "Input1"}), calls);
    }
}

// What can be wrong with a machine.
using Fault = std::function<void(RecordingPlatform&)>;

Fault Breaks(const std::string& name) {
    return [=](RecordingPlatform& platform) { platform.broken = {name}; };
}

Fault Withholds(const std::string& name, REFIID iid) {
    return [=](RecordingPlatform& platform) { platform.withheld.emplace_back(name, iid); };
}

Fault Lacks(const std::set<std::string>& pins) {
    return [=](RecordingPlatform& platform) { platform.missingPins = pins; };
}

void OffersMixer(RecordingPlatform& platform) {
    platform.withheld.clear();
}

TEST(BuildGraph, GoesOnWithoutWhatIsNotNeeded) {
    const std::pair<Fault, const char*> rows[] = {
        {Withholds("korvix demux", __uuidof(KorvixDemux)), "OSD source.SetText"},
        {Lacks({"VMR9/VMR Input0"}),
         "graph.ConnectDirect(video decoder/Video Out, VMR9/Other Input, no type)"},
        {Lacks({"video decoder/Video Out"}),
         "graph.ConnectDirect(video decoder/Side Out, VMR9/VMR Input0, no type)"},
    };
    for (const auto& [fault, line] : rows) {
        BuildFixture fixture;
        KorvixCodec = DebugOSD = 1;
        fault(fixture.platform);
        EXPECT_EQ(fixture.Build(), 1);
        EXPECT_THAT(fixture.Calls(), ::testing::Contains(line));
    }
}

TEST(BuildGraph, NoSoundIsShownAndNotFatal) {
    BuildFixture fixture;
    ClockSource = 2;
    ASSERT_EQ(fixture.Build(), 1);
    ASSERT_NE(AudioVolume(), nullptr);
    fixture.player.ReleaseGraph();

    fixture.Calls();
    fixture.platform.broken = {"sound"};
    ASSERT_EQ(fixture.Build(), 1);
    const MessageBoxRecord box = {"Unable to load sound output filter.", "Error", fixture.window};
    EXPECT_THAT(fixture.boxes.shown, ElementsAre(box));
    EXPECT_EQ(fixture.Log(), "");
    EXPECT_EQ(AudioVolume(), nullptr) << "the earlier renderer's volume is gone";
    EXPECT_NE(fixture.player.audioPidMap, nullptr);
    EXPECT_THAT(
        Matching(fixture.Calls(), {"sound", "Audio Out"}),
        ElementsAre("cannot create sound", "demux.CreateOutputPin(\"Audio Out\", audio/MPEG WAVEFORMATEX 40)",
                    "graph.ConnectDirect(demux/Audio Out, audio decoder/XForm In, no type)"));
}

// Wine's renderer has no lock of its own for its sound buffer.
TEST(BuildGraph, NoFadeInSetsTheVolumeWhileTheRendererIsConnectedOrTakenApart) {
    BuildFixture fixture;
    fixture.platform.volume = -3500; // some steps of a fade-in
    Journal levels;
    FakeVolume volume(levels);
    std::atomic<int> inside = 0; // the renderer, at the same time
    std::atomic<bool> together = false;
    const auto callRenderer = [&] {
        if (++inside > 1) {
            together = true;
        }
        Sleep(60);
        --inside;
    };
    volume.onLevel = [&](long) { callRenderer(); };
    fixture.platform.during = [&](const std::string& call) {
        if (call.find("RemoveFilter(sound)") != std::string::npos ||
            call.find(", sound/") != std::string::npos) {
            callRenderer();
        } else if (call.find("(demux/Audio Out") != std::string::npos) { // the connection before
            volume.Use();
            StartAudioUnmute(0);
            Sleep(30);
        }
    };
    ASSERT_EQ(fixture.Build(), 1);
    fixture.player.ReleaseGraph();
    EXPECT_GE(levels.TakeWhen(7).size(), 7U);
    EXPECT_FALSE(together);
    SetAudioVolume(nullptr);
    EXPECT_TRUE(PumpUntil([&] { return volume.references == 0; }, 5000));
}

TEST(BuildGraph, EachFailureSaysWhatItIsAndLeavesNothingBehind) {
    const std::string noPins =
        "111 The video Directshow decoder filter did not expose the expected input/output pins.";
    const std::string noFeed = "112 Korvix TS Feedfilter could not be loaded";
    const std::string noControl = "113 Unable to load DirectX MPEG2 Demultiplexer";
    const std::string noDemux = "130 Unable to load MPEG2 Demux\r\nError: " + noControl;
    const Lines sound = {"sound 1"}; // after the teardown
    const Lines both = {"sound 1", "VMR9 1"};
    std::uint32_t nothing = 0;
    const struct {
        std::string error;
        std::uint32_t& setting; // on instead of off, or the other way round
        Fault fault;
        Lines kept;
    } rows[] = {
        {"101 Unable to create graph builder", nothing, Breaks("graph"), {}},
        {"102 Unable to get media control interface",
         nothing,
         Withholds("graph", __uuidof(IMediaControl)),
         {}},
        {noPins, nothing, Lacks({"video decoder/Video In"}), {}},
        {noFeed, nothing, Breaks("feed"), {}},
        {noFeed, nothing, Withholds("feed", __uuidof(FeedControl)), {}},
        {noFeed, nothing, Withholds("feed", __uuidof(FeedData)), {}},
        {noDemux, nothing, Breaks("demux"), {}},
        {noDemux, KorvixCodec, Breaks("korvix demux"), {}},
        {noControl, nothing, Withholds("demux", __uuidof(IMpeg2Demultiplexer)), {}},
        {"115 Unable to create VMR9 filter", nothing, Breaks("VMR9"), sound},
        {"116 Unable to query VMR9 interface(s)", nothing, Withholds("VMR9", __uuidof(IVMRFilterConfig9)),
         both},
        {"117 Unable to create Direct3D Device instance\r\n", NoDirect3D, OffersMixer, both},
        {"-1 Unable to create OSD filter", DebugOSD, Breaks("OSD source"), both},
        {noPins, nothing, Lacks({"VMR9/Other Input", "VMR9/VMR Input0", "VMR9/VMR Input1"}), both},
        {noPins, UseVMR9, Breaks("overlay mixer"), sound},
        {noPins, UseVMR9, Lacks({"overlay mixer/Input0"}), sound},
        {noPins, nothing,
         Lacks({"video decoder/Side Out", "video decoder/Video Output", "video decoder/Video Out",
                "video decoder/Out"}),
         both},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.error);
        BuildFixture fixture;
        row.setting ^= 1;
        row.fault(fixture.platform);
        EXPECT_EQ(fixture.Build(), 0);
        EXPECT_EQ(fixture.player.built, 0U);
        EXPECT_EQ(fixture.Log(), "Error: " + row.error + "\r\n");
        EXPECT_EQ(fixture.boxes.shown.size(), row.error == noDemux ? 2U : 1U);
        fixture.player.ReleaseGraph();
        EXPECT_EQ(fixture.platform.References(), row.kept);
        row.setting ^= 1;
    }
}

TEST(BuildGraph, ReferencesThroughTwoGraphs) {
    BuildFixture fixture;
    OffersMixer(fixture.platform);
    OverlaySurface = nullptr;
    ASSERT_EQ(fixture.Build(), 1);
    EXPECT_NE(OverlaySurface, nullptr);
    // Of each filter one reference is the graph's. Demultiplexer: its control interface. Audio pin: pin and
    // map. Sound: filter and volume. VMR9: filter, statistics, mixer. Graph: builder, control, window.
    EXPECT_THAT(fixture.platform.References(),
                ElementsAre("graph 3", "audio decoder 2", "video decoder 2", "feed 4", "demux 2",
                            "demux/Video Out 1", "sound 3", "demux/Audio Out 2", "VMR9 4"));

    fixture.Calls();
    fixture.platform.journal.releases = true;
    fixture.player.ReleaseGraph();
    fixture.platform.journal.releases = false;
    const Lines calls = fixture.Calls();
    const auto emptied = std::ranges::find(calls, "filters.Release");
    ASSERT_NE(emptied, calls.end());
    EXPECT_THAT(Lines(emptied + 1, calls.end()),
                ElementsAre("audio decoder.Release", "video decoder.Release", "feed.Release", "sound.Release",
                            "VMR9.Release", "demux.Release", "demux/Audio Out.Release",
                            "demux/Video Out.Release", "demux/Audio Out.Release", "VMR9.Release",
                            "feed.Release", "feed.Release", "graph.Release"));
    EXPECT_THAT(
        Matching(Lines(calls.begin(), emptied), {"graph."}),
        // Let go of: its control, and what was asked for its clock.
        ElementsAre("graph.Stop", "graph.Release", "graph.Release", "graph.RemoveFilter(audio decoder)",
                    "graph.RemoveFilter(video decoder)", "graph.RemoveFilter(feed)",
                    "graph.RemoveFilter(demux)", "graph.RemoveFilter(sound)", "graph.RemoveFilter(VMR9)"));
    // The window's reference is dropped without a release; volume and statistics wait for the next build.
    EXPECT_THAT(fixture.platform.References(), ElementsAre("graph 1", "sound 1", "VMR9 1"));

    ASSERT_EQ(fixture.Build(), 1);
    fixture.Calls();
    fixture.platform.Find("graph").result =
        E_FAIL; // a teardown that cannot empty the graph ends all the same
    fixture.player.ReleaseGraph();
    EXPECT_THAT(fixture.Calls(), ElementsAre("graph.Stop", "graph.RemoveFilter(audio decoder)"));
    EXPECT_THAT(fixture.platform.References(),
                ElementsAre("graph 1", "graph 1", "audio decoder 1", "video decoder 1", "feed 1", "demux 1",
                            "sound 2", "VMR9 2"))
        << "only the second graph's volume and statistics are left, beside what its graph could not let go";
}

// Each would keep its graph, and that its thread, for ever.
TEST(BuildGraph, OfOldWindowsTheTwoNewestStayOnceALaterBuildHasSucceeded) {
    BuildFixture fixture;
    for (int graphs = 1; graphs <= 5; ++graphs) {
        ASSERT_EQ(fixture.Build(), 1);
        fixture.player.ReleaseGraph();
        EXPECT_EQ(std::ranges::count(fixture.platform.References(), "graph 1"), std::min(graphs, 3));
    }
}

TEST(BuildGraph, KorvixDemuxLivesUntilTheNextBuild) {
    BuildFixture fixture;
    KorvixCodec = 1;
    ASSERT_EQ(fixture.Build(), 1);
    const auto* const first = fixture.player.korvixDemux.Get();
    fixture.player.ReleaseGraph();
    EXPECT_EQ(fixture.player.korvixDemux.Get(), first);
    EXPECT_THAT(fixture.platform.References(), ElementsAre("graph 1", "korvix demux 1", "sound 1", "VMR9 1"));
    ASSERT_EQ(fixture.Build(), 1);
    EXPECT_NE(fixture.player.korvixDemux.Get(), first);
    fixture.player.ReleaseGraph();
    EXPECT_THAT(fixture.platform.References(),
                ElementsAre("graph 1", "graph 1", "korvix demux 1", "sound 1", "VMR9 1"));
}

} // namespace
} // namespace vistrame::test
