// The demultiplexer of the platform's class: pins, PID maps, timing, independence of its outputs. The types
// the player gives its pins are connected, and play, in tests/live.
#include <atomic>
#include <future>

#include "filters/demux/mpeg2_demultiplexer.h"
#include "tests/filters/live_programme.h"

namespace vistrame::test {

namespace {

struct Demux : DemuxFixture<Mpeg2Demultiplexer> {
    Demux() : DemuxFixture(L"MPEG-2 Stream") {
        (void)Create(L"Video Out", MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO));
        (void)Create(L"Audio Out", MediaType(MEDIATYPE_Audio, MEDIASUBTYPE_MPEG2_AUDIO));
        ConnectBoth();
    }

    ComPtr<IPin> Create(std::wstring name, MediaType type) {
        ComPtr<IPin> pin;
        EXPECT_EQ(demux->CreateOutputPin(&type.Fields(), name.data(), &pin), S_OK);
        return pin;
    }
    ComPtr<IMPEG2PIDMap> Map(const wchar_t* pin) {
        ComPtr<IMPEG2PIDMap> map;
        EXPECT_EQ(PinOf(demux, pin).As(&map), S_OK);
        return map;
    }
    void Play() {
        ULONG pid = programme.recipe.videoPid;
        EXPECT_EQ(Map(L"Video Out")->MapPID(1, &pid, MEDIA_ELEMENTARY_STREAM), S_OK);
        pid = programme.recipe.audioPid;
        EXPECT_EQ(Map(L"Audio Out")->MapPID(1, &pid, MEDIA_ELEMENTARY_STREAM), S_OK);
        graph.Run();
    }

    // Sample times less the time stamps of what the last samples hold: one number for all when in step. Ahead
    // of their time, but no more than they need: at the live edge.
    void ExpectLiveAndInStep() {
        std::vector<REFERENCE_TIME> offsets;
        for (const SinkFilter* sink : {video, audio}) {
            const auto samples = sink->Samples();
            ASSERT_GE(samples.size(), 12u);
            for (auto sample = samples.end() - 10; sample != samples.end(); ++sample) {
                const int picture = PictureOf(*sample);
                const int frame = AudioFrameOf(*sample);
                if ((picture >= 0 || frame >= 0) && sample->time) {
                    offsets.push_back(*sample->time -
                                      (picture >= 0 ? (picture + 1) * kPicture : frame * 24 * kMs));
                }
            }
            EXPECT_GT(samples.back().lead, 0);
            EXPECT_LT(samples.back().lead, LiveTiming::kLatency + 200 * kMs);
        }
        ASSERT_GE(offsets.size(), 15u);
        const auto [least, most] = std::ranges::minmax(offsets);
        EXPECT_LE(most - least, 40 * kMs);
    }
};

} // namespace

// AC-3 comes with a format block that looks like PCM, and the system's renderer takes any sound.
TEST(Mpeg2Demultiplexer, NeverGivesCodedSoundToASoundRenderer) {
    Demux demux;
    ComPtr<IBaseFilter> renderer;
    ASSERT_EQ(CoCreateInstance(CLSID_DSoundRender, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&renderer)),
              S_OK);
    ASSERT_EQ(demux.graph.graph->AddFilter(renderer.Get(), L"renderer"), S_OK);
    MediaType type(MEDIATYPE_Audio, MEDIASUBTYPE_DOLBY_AC3);
    type.SetFormat(FORMAT_WaveFormatEx, WAVEFORMATEX{WAVE_FORMAT_PCM, 2, 48'000, 192'000, 4, 16, 0});
    const auto input = PinOf(renderer.Get(), L"Audio Input pin (rendered)");
    EXPECT_EQ(input->QueryAccept(&type.Get()), S_OK);
    EXPECT_TRUE(FAILED(demux.graph.Connect(demux.Create(L"Other", type).Get(), input.Get())));
}

TEST(Mpeg2Demultiplexer, PinsComeAndGoByName) {
    Demux demux;
    MediaType type(MEDIATYPE_Audio, MEDIASUBTYPE_DOLBY_AC3);
    wchar_t name[] = L"Video Out";
    ComPtr<IPin> other;
    EXPECT_EQ(demux.demux->CreateOutputPin(&type.Fields(), name, &other), VFW_E_DUPLICATE_NAME);
    EXPECT_EQ(demux.demux->SetOutputPinMediaType(name, &type.Fields()), VFW_E_ALREADY_CONNECTED);
    demux.graph.Run();
    EXPECT_EQ(demux.demux->DeleteOutputPin(name), VFW_E_NOT_STOPPED);
    demux.graph.Stop();
    EXPECT_EQ(demux.demux->DeleteOutputPin(name), S_OK);
    EXPECT_FALSE(demux.video->Input().IsConnected());
    EXPECT_EQ(demux.demux->FindPin(name, &other), VFW_E_NOT_FOUND);
}

TEST(Mpeg2Demultiplexer, MappingWhileRunningSwitchesTheStream) {
    Demux demux;
    demux.graph.Run();
    demux.programme.Send(14);
    EXPECT_EQ(demux.video->Count() + demux.audio->Count(), 0u) << "nothing is mapped";
    demux.Play();
    demux.programme.Send(26);
    ASSERT_TRUE(demux.video->Await(14));
    const auto first = demux.video->Samples().front();
    EXPECT_EQ(PictureOf(first) % 12, 0) << "begins where decoding can begin";
    EXPECT_TRUE(first.discontinuity);
    EXPECT_TRUE(first.syncPoint);

    const auto map = demux.Map(L"Audio Out");
    ULONG audio = demux.programme.recipe.audioPid;
    EXPECT_EQ(map->UnmapPID(1, &audio), S_OK);
    Sleep(kBlocked);
    demux.audio->Forget();
    ULONG video = demux.programme.recipe.videoPid; // two pins may have one PID, and a pin two PIDs
    EXPECT_EQ(map->MapPID(1, &video, MEDIA_ELEMENTARY_STREAM), S_OK);
    EXPECT_EQ(map->MapPID(1, &audio, MEDIA_ELEMENTARY_STREAM), S_OK);
    demux.programme.Send(13);
    ASSERT_TRUE(demux.audio->Await(20));
    const auto samples = demux.audio->Samples();
    EXPECT_TRUE(std::ranges::any_of(
        samples, [](int picture) { return picture >= 0; }, PictureOf));
    EXPECT_TRUE(std::ranges::any_of(
        samples, [](int frame) { return frame >= 0; }, AudioFrameOf));
}

// None of these may stop anything. The first picture is due at once, the others follow without a gap.
TEST(Mpeg2Demultiplexer, PlaysOnThroughWhateverHappensToTheStream) {
    constexpr auto kHour = 3600 * kTicksPerSecond;
    struct Row {
        const char* name;
        DWORD hold;             // milliseconds at most without a sample
        std::int64_t jump = 0;  // of the clock
        bool announced = false; // and marked therefore
        DWORD gap = 0;          // milliseconds
        int backlog = 0;        // pictures that come at once then
        int paused = 0;         // pictures meanwhile
        int then = 30;          // pictures until it is live again
        std::int64_t start = kHour;
    };
    const Row rows[] = {
        {.name = "nothing", .hold = 80},
        {.name = "33-bit wrap", .hold = 80, .start = kTickWrap - kTicksPerSecond},
        {.name = "an hour forward", .hold = 300, .jump = kHour},
        {.name = "10 s back", .hold = 300, .jump = -10 * kTicksPerSecond},
        {.name = "10 s back, announced", .hold = 120, .jump = -10 * kTicksPerSecond, .announced = true},
        {.name = "a gap and its backlog", .hold = 2200, .gap = 1500, .backlog = 38},
        {.name = "a source that stood still", .hold = 2200, .gap = 1500},
        {.name = "a source that ran ahead", .hold = 300, .backlog = 25, .then = 75},
        {.name = "a pause", .hold = 2800, .paused = 50},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const bool lost = row.gap != 0 || row.paused != 0 || row.backlog != 0; // some pictures, perhaps
        Demux demux;
        demux.programme.recipe.start = row.start;
        demux.Play();
        demux.programme.Send(25);
        demux.programme.recipe.start += row.jump;
        demux.programme.discontinuity = row.announced;
        Sleep(row.gap);
        demux.programme.Send(row.backlog, false);
        std::size_t before = 0;
        if (row.paused != 0) {
            demux.graph.Pause();
            Sleep(kBlocked);
            before = demux.video->Count();
            demux.programme.Send(row.paused);
            EXPECT_EQ(demux.video->Count(), before);
            demux.graph.Run();
        }
        const int edge = demux.programme.Next();
        demux.programme.Send(row.then);
        const int newest = demux.programme.Next() - 2; // the last may still be waiting for its end
        ASSERT_TRUE(demux.video->Await(30));
        ASSERT_TRUE(WaitUntil([&] { return PictureOf(demux.video->Samples().back()) >= newest; }));
        const auto videos = demux.video->Samples();
        EXPECT_LE(videos[0].lead, 0);
        EXPECT_TRUE(before == 0 || PictureOf(videos[before]) >= edge - 12) << "what passed in the pause";
        bool marked = false;
        for (std::size_t i = 1; i < videos.size(); ++i) {
            const int picture = PictureOf(videos[i]);
            marked = marked || videos[i].discontinuity;
            EXPECT_LE(videos[i].tick - videos[i - 1].tick, row.hold);
            EXPECT_GT(videos[i].lead, -StreamPin::kLatePicture - 100 * kMs);
            EXPECT_EQ(videos[i].syncPoint, picture % 12 == 0);
            if (picture != PictureOf(videos[i - 1]) + 1) {
                EXPECT_TRUE(lost && videos[i].syncPoint && videos[i].discontinuity) << picture;
                EXPECT_GE(picture, edge - 12) << "decoding begins at the newest picture where it can";
            } else if (!lost && i > 1) {
                EXPECT_LT(videos[i].lead, LiveTiming::kLatency + 200 * kMs);
                EXPECT_LE(*videos[i].time - *videos[i - 1].time, 3 * kPicture);
            }
        }
        EXPECT_TRUE(marked == row.announced || lost);
        EXPECT_EQ(demux.video->Seen().segments, 1);
        demux.ExpectLiveAndInStep();
    }
}

TEST(LiveTiming, WhoeverWaitsIsFreedByTimeAndByAnyChange) {
    for (const bool arrives : {true, false}) {
        SCOPED_TRACE(arrives);
        LiveTiming timing;
        std::atomic<bool> stopped = false;
        timing.Start();
        timing.Expect(LiveTiming::kAudio, true); // never comes
        const REFERENCE_TIME begin = SystemTime();
        auto waiting = std::async(std::launch::async, [&] {
            return timing.AwaitOffset(
                [&] { return stopped ? std::nullopt : std::optional(SystemTime() - begin); });
        });
        EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(kBlocked)), std::future_status::timeout);
        if (arrives) {
            timing.Arrive(LiveTiming::kVideo, 0, SystemTime() - begin);
        } else {
            stopped = true;
            timing.WakeWaiting();
        }
        ASSERT_EQ(waiting.wait_for(std::chrono::milliseconds(kPatience)), std::future_status::ready);
        EXPECT_EQ(waiting.get().has_value(), arrives);
        EXPECT_TRUE(!arrives || SystemTime() - begin >= kBlocked * kMs + LiveTiming::kSettleLimit);
    }
}

// Twenty-five units a second, now and then one whose stamp has a wrong bit; after a minute nothing comes for
// four seconds, and then all of it at once.
TEST(LiveTiming, ADamagedStampMovesNothingAndARealJumpIsFollowed) {
    LiveTiming timing;
    timing.Start();
    timing.Expect(LiveTiming::kVideo, true);
    const auto offset = [&](std::int64_t now) { // settled, when it has to be, by the time that passes
        return *timing.AwaitOffset([&] { return std::optional(std::exchange(now, now + 150 * kMs)); });
    };
    constexpr std::int64_t kUnit = 40 * kMs;
    for (int i = 0; i < 1500; ++i) {
        const int bit = i % 25 == 24 ? i / 25 % 33 : -1; // of a stamp in 90 kHz
        const std::int64_t damage = bit < 0 ? 0 : ReferenceFromTicks(std::int64_t{1} << bit);
        timing.Arrive(LiveTiming::kVideo, i * kUnit + (i % 2 == 0 ? damage : -damage), i * kUnit);
        if (i >= 50) { // what is not doubted may move it
            ASSERT_NEAR(offset(i * kUnit) / kMs, LiveTiming::kLatency / kMs, 1500) << "bit " << bit;
        }
    }
    constexpr std::int64_t kBack = 1600 * kUnit;
    for (int i = 1500; i < 1600; ++i) {
        timing.Arrive(LiveTiming::kVideo, i * kUnit, kBack);
    }
    for (int i = 1600; i < 1625; ++i) {
        timing.Arrive(LiveTiming::kVideo, i * kUnit, i * kUnit);
    }
    EXPECT_NEAR(offset(1625 * kUnit) / kMs, LiveTiming::kLatency / kMs, 100) << "the live edge again";
}

TEST(UnitQueue, DoesNotWaitForEverForAPlaceToBegin) {
    UnitQueue queue;
    queue.Open();
    queue.Hold(false);
    const auto push = [&] {
        QueuedUnit unit{};
        unit.memory = {1};
        queue.Push(std::move(unit));
    };
    const DWORD half = UnitQueue::kPatience / std::chrono::milliseconds(2);
    for (int i = 0; i < 2; ++i) {
        push();
        EXPECT_TRUE(queue.AwaitsRandomAccess());
        Sleep(half);
    }
    Sleep(kBlocked);
    push();
    ASSERT_FALSE(queue.AwaitsRandomAccess());
    EXPECT_TRUE(queue.Take()->discontinuity);
}

TEST(Mpeg2Demultiplexer, ABlockedOutputHoldsUpNothingElse) {
    Demux demux;
    demux.Play();
    demux.audio->Block(true);
    demux.programme.Send(50);
    ASSERT_TRUE(demux.video->Await(45));
    EXPECT_EQ(demux.audio->Count(), 1u);
    demux.audio->Block(false);
    demux.programme.Send(10);
    ASSERT_TRUE(demux.audio->Await(10));
    const auto sounds = demux.audio->Samples();
    EXPECT_TRUE(std::ranges::all_of(sounds.begin() + 1, sounds.end(), [](const auto& sample) {
        return sample.lead.value_or(0) > -StreamPin::kLateSound - 50 * kMs;
    })) << "what comes too late is dropped";
    EXPECT_TRUE(std::ranges::any_of(sounds.begin() + 1, sounds.end(), &SinkFilter::Sample::discontinuity));
    EXPECT_GT(demux.audio->Samples().back().lead.value_or(-1), 0);
}

TEST(Mpeg2Demultiplexer, FlushAndEndOfStreamPassThrough) {
    Demux demux;
    demux.Play();
    demux.video->Block(true);
    demux.programme.Send(8);
    ASSERT_TRUE(demux.video->AwaitReceive());
    EXPECT_EQ(demux.source->Output().DeliverBeginFlush(), S_OK);
    demux.video->Block(false);
    EXPECT_EQ(demux.source->Output().DeliverEndFlush(), S_OK);
    EXPECT_EQ(demux.video->Seen().flushes, 1);
    EXPECT_EQ(demux.audio->Seen().flushes, 1);
    demux.video->Forget();
    demux.programme.Send(14);
    EXPECT_EQ(demux.source->Output().DeliverEndOfStream(), S_OK);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->Seen().ends == 1 && demux.audio->Seen().ends == 1; }));
    EXPECT_EQ(PictureOf(demux.video->Samples().front()) % 12, 0);
    EXPECT_EQ(PictureOf(demux.video->Samples().back()), demux.programme.Next() - 1)
        << "the last picture came out too";
}

} // namespace vistrame::test
