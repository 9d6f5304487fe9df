// The filters' own threads towards COM: their apartment, and the module they run in.
#include <atomic>

#include "filters/osd_source/osd_source.h"
#include "tests/filters/play/playing_graph.h"
#include "tests/support/together.h"

namespace vistrame::test {

namespace {

bool ServerIsLoaded() {
    return GetModuleHandleW(L"vistrame.ax") != nullptr;
}

} // namespace

// Every thread of ours that calls into somebody else's object: queue of the feed, pins of the demultiplexer,
// pictures' queue, both displays.
TEST(WorkerThreads, BelongToTheMultithreadedApartment) {
    PlayingGraph play;
    const auto display = MakeObject<Display>();
    std::atomic<int> outside = 0;
    display->onText = [&] { outside += InMultithreadedApartment() ? 0 : 1; };
    EXPECT_EQ(play.demux->AttachOsd(display.Get()), S_OK);
    TestGraph others;
    auto* feed = others.Add(MakeObject<FeedFilter>(), L"feed");
    auto* stream = others.Add(MakeObject<CountingSink>(), L"stream");
    auto* osd = others.Add(MakeObject<OsdSource>(), L"osd");
    auto* text = others.Add(MakeObject<CountingSink>(), L"text");
    EXPECT_EQ(others.Connect(PinOf(feed, L"TS Out").Get(), &stream->Input()), S_OK);
    EXPECT_EQ(others.Connect(PinOf(osd, L"1").Get(), &text->Input()), S_OK);
    others.Run();
    play.graph.Run();
    Broadcast broadcast;
    broadcast.Send(*feed, 100);
    broadcast.Send(*play.feed, 1000);
    EXPECT_TRUE(display->AwaitAnother());
    EXPECT_EQ(outside, 0);
    for (CountingSink* sink : {stream, text, play.sound, play.pictures}) {
        EXPECT_TRUE(sink->Await(1));
        EXPECT_EQ(sink->outside, 0);
    }
    EXPECT_EQ(play.demux->AttachOsd(nullptr), S_OK);
}

// The reader delivers, whoever commands runs, pauses and stops, another selects and attaches, and a third
// flushes, all at once; then it plays as if nothing had been.
TEST(WorkerThreads, CommandsMeetDeliveriesAndFlushes) {
    PlayingGraph play;
    Broadcast broadcast;
    const auto display = MakeObject<Display>();
    const ComPtr<IPin> input = PinOf(play.demux, L"TS In");
    const auto deliver = [&] { broadcast.Send(*play.feed, 60); };
    const auto command = [&, wait = 0]() mutable {
        play.graph.Run();
        Sleep(wait = (wait + 7) % 40);
        play.graph.Pause();
        Sleep(wait % 5);
        play.graph.Stop();
    };
    const auto flush = [&] {
        (void)input->BeginFlush();
        Sleep(1);
        (void)input->EndFlush();
        Sleep(10);
    };
    const auto select = [&, video = ULONG{kNullPid}]() mutable {
        video ^= kNullPid ^ kBroadcastVideo;
        (void)play.demux->SetPids(video, kBroadcastAudio, video);
        (void)play.demux->AttachOsd(video == kNullPid ? nullptr : display.Get());
        ULONG count = 0;
        (void)play.demux->GetStallCount(0, &count);
        Sleep(5);
    };
    Together({deliver, command, flush, select});
    EXPECT_EQ(play.demux->AttachOsd(nullptr), S_OK);
    EXPECT_EQ(play.demux->SetPids(kBroadcastVideo, kBroadcastAudio, kBroadcastVideo), S_OK);
    play.graph.Run();
    const std::size_t pictures = play.pictures->Count();
    const std::size_t sound = play.sound->Count();
    broadcast.Send(*play.feed, 2500);
    EXPECT_TRUE(play.pictures->Await(pictures + 10));
    EXPECT_TRUE(play.sound->Await(sound + 10));
}

// As when the process uninitialises COM, which unloads the server whoever holds an object of it.
TEST(WorkerThreads, KeepTheServerLoadedUntilTheyHaveEnded) {
    const CoInitialized com;
    const auto display = MakeObject<Display>();
    const HMODULE server = LoadServer();
    ASSERT_NE(server, nullptr);
    ComPtr<KorvixDemux> demux;
    {
        const auto getClass = reinterpret_cast<decltype(&DllGetClassObject)>(
            reinterpret_cast<void*>(GetProcAddress(server, "DllGetClassObject")));
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(
            getClass(CLSID_KorvixDemux, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf())),
            S_OK);
        ASSERT_EQ(factory->CreateInstance(nullptr, __uuidof(KorvixDemux),
                                          reinterpret_cast<void**>(demux.GetAddressOf())),
                  S_OK);
    }
    EXPECT_EQ(demux->AttachOsd(display.Get()), S_OK);
    EXPECT_TRUE(display->AwaitAnother());
    FreeLibrary(server);
    ASSERT_TRUE(ServerIsLoaded());
    EXPECT_TRUE(display->AwaitAnother()) << "and the thread goes on";

    const HMODULE again = LoadServer(); // for the calls that follow
    EXPECT_EQ(demux->AttachOsd(nullptr), S_OK);
    demux.Reset();
    FreeLibrary(again);
    EXPECT_FALSE(ServerIsLoaded()) << "the thread took its reference along";
}

} // namespace vistrame::test
