// The demultiplexer of the platform's class: pins, PID maps, timing, independence of its outputs.
#include "filters/demux/mpeg2_demultiplexer.h"
#include "tests/filters/live_programme.h"

namespace vistrame::test {

namespace {

constexpr REFERENCE_TIME kFarFuture = 1'000'000 * kMs;
constexpr GUID kH264 = {0x34363248, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};

MediaType TransportType() {
    MediaType type(MEDIATYPE_Stream, MEDIASUBTYPE_MPEG2_TRANSPORT);
    type.SetFormat(FORMAT_None, {});
    return type;
}

struct Demux {
    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    Mpeg2Demultiplexer* demux = graph.Add(MakeObject<Mpeg2Demultiplexer>(), L"demux");
    SinkFilter* video = graph.Add(MakeObject<SinkFilter>(), L"video");
    SinkFilter* audio = graph.Add(MakeObject<SinkFilter>(), L"audio");
    LiveProgramme programme{*source};

    Demux() {
        source->offered = {TransportType()};
        EXPECT_EQ(graph.Connect(&source->Output(), PinOf(demux, L"MPEG-2 Stream").Get()), S_OK);
        const auto videoPin = Create(L"Video Out", MediaType(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO));
        const auto audioPin = Create(L"Audio Out", MediaType(MEDIATYPE_Audio, MEDIASUBTYPE_MPEG2_AUDIO));
        EXPECT_EQ(graph.Connect(videoPin.Get(), &video->Input()), S_OK);
        EXPECT_EQ(graph.Connect(audioPin.Get(), &audio->Input()), S_OK);
    }

    ComPtr<IPin> Create(const wchar_t* name, const MediaType& type) {
        MediaType copy(type);
        ComPtr<IPin> pin;
        EXPECT_EQ(demux->CreateOutputPin(&copy.Fields(), const_cast<LPWSTR>(name), &pin), S_OK);
        return pin;
    }
    ComPtr<IMPEG2PIDMap> Map(const wchar_t* pin) {
        ComPtr<IMPEG2PIDMap> map;
        EXPECT_EQ(PinOf(demux, pin).As(&map), S_OK);
        return map;
    }
    void MapBoth() {
        ULONG pid = programme.recipe.videoPid;
        EXPECT_EQ(Map(L"Video Out")->MapPID(1, &pid, MEDIA_ELEMENTARY_STREAM), S_OK);
        pid = programme.recipe.audioPid;
        EXPECT_EQ(Map(L"Audio Out")->MapPID(1, &pid, MEDIA_ELEMENTARY_STREAM), S_OK);
    }

    // Sample times less the time stamps of what the last samples hold: one number for all when in step.
    void ExpectInStep() {
        std::vector<REFERENCE_TIME> offsets;
        const auto collect = [&](const SinkFilter& sink, auto&& stampOf) {
            const auto samples = sink.Samples();
            ASSERT_GE(samples.size(), 12u);
            for (auto sample = samples.end() - 10; sample != samples.end(); ++sample) {
                if (const std::optional<REFERENCE_TIME> stamp = stampOf(*sample); stamp && sample->time) {
                    offsets.push_back(*sample->time - *stamp);
                }
            }
        };
        collect(*video, [](const auto& sample) {
            const int picture = PictureOf(sample);
            return picture >= 0 ? std::optional((picture + 1) * kPicture) : std::nullopt;
        });
        collect(*audio, [](const auto& sample) {
            const int frame = AudioFrameOf(sample);
            return frame >= 0 ? std::optional(std::int64_t{frame} * 24 * kMs) : std::nullopt;
        });
        ASSERT_GE(offsets.size(), 15u);
        const auto [least, most] = std::ranges::minmax(offsets);
        EXPECT_LE(most - least, 40 * kMs);
    }
};

// Longest time that a picture stands, as the samples say.
REFERENCE_TIME LongestPicture(const std::vector<SinkFilter::Sample>& samples) {
    REFERENCE_TIME longest = 0;
    for (std::size_t i = 2; i < samples.size(); ++i) { // the first stands longer: it is shown at once
        longest = std::max(longest, samples[i].time.value_or(0) - samples[i - 1].time.value_or(0));
    }
    return longest;
}

// Longest time between two samples that came in.
DWORD LongestHold(const std::vector<SinkFilter::Sample>& samples) {
    DWORD longest = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        longest = std::max(longest, samples[i].tick - samples[i - 1].tick);
    }
    return longest;
}

std::vector<std::pair<ULONG, MEDIA_SAMPLE_CONTENT>> Mappings(IMPEG2PIDMap* map) {
    ComPtr<IEnumPIDMap> mappings;
    EXPECT_EQ(map->EnumPIDMap(&mappings), S_OK);
    std::vector<std::pair<ULONG, MEDIA_SAMPLE_CONTENT>> list;
    PID_MAP one{};
    ULONG got = 0;
    while (mappings->Next(1, &one, &got) == S_OK && got == 1) {
        list.emplace_back(one.ulPID, one.MediaSampleContent);
    }
    return list;
}

} // namespace

// created with          connects as
// complete              that, byte for byte, though a decoder might like another better
// H264, no format type  that, with its block
// no major, no subtype  that to a sink that takes it, else completed from the wave format's tag
// no major, AC-3        completed with audio
TEST(Mpeg2Demultiplexer, ConnectsWithTheTypeItWasGivenOrItsCompletion) {
    MediaType complete(MEDIATYPE_Video, MEDIASUBTYPE_MPEG2_VIDEO);
    complete.SetFormat(FORMAT_MPEG2Video, std::array<std::uint8_t, 1136>{1, 2, 3});
    MediaType h264(MEDIATYPE_Video, kH264);
    h264.SetFormat(GUID_NULL, std::array<std::uint8_t, 1136>{4, 5, 6});
    MediaType bare(GUID_NULL, GUID_NULL);
    bare.SetFormat(FORMAT_WaveFormatEx, WAVEFORMATEX{.wFormatTag = 0x50,
                                                     .nChannels = 2,
                                                     .nSamplesPerSec = 48000,
                                                     .nAvgBytesPerSec = 24000,
                                                     .nBlockAlign = 576,
                                                     .wBitsPerSample = 16,
                                                     .cbSize = 0});
    MediaType bareCompleted(bare);
    bareCompleted.Fields().majortype = MEDIATYPE_Audio;
    bareCompleted.Fields().subtype = MEDIASUBTYPE_MPEG2_AUDIO;
    MediaType ac3(GUID_NULL, MEDIASUBTYPE_DOLBY_AC3);
    ac3.SetFormat(FORMAT_WaveFormatEx, WAVEFORMATEX{});
    MediaType ac3Completed(ac3);
    ac3Completed.Fields().majortype = MEDIATYPE_Audio;

    struct Row {
        const char* name;
        MediaType given, agreed;
        bool sinkWantsMajor;
    };
    const Row rows[] = {
        {"complete", complete, complete, true},          {"H.264 without a format type", h264, h264, true},
        {"bare, easy sink", bare, bare, false},          {"bare, strict sink", bare, bareCompleted, true},
        {"AC-3 without major", ac3, ac3Completed, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Demux demux;
        SinkFilter* sink = demux.graph.Add(MakeObject<SinkFilter>(), L"sink");
        sink->check = [&](const MediaType& type) {
            return row.sinkWantsMajor && type->majortype == GUID_NULL ? S_FALSE : S_OK;
        };
        ASSERT_EQ(demux.graph.Connect(demux.Create(L"Other", row.given).Get(), &sink->Input()), S_OK);
        EXPECT_TRUE(sink->Input().Type() == row.agreed);
    }
}

TEST(Mpeg2Demultiplexer, PinsComeAndGoByName) {
    Demux demux;
    MediaType type(MEDIATYPE_Audio, MEDIASUBTYPE_DOLBY_AC3);
    MediaType other(MEDIATYPE_Audio, MEDIASUBTYPE_MPEG2_AUDIO);
    wchar_t name[] = L"Third";
    wchar_t taken[] = L"Video Out";
    wchar_t none[] = L"None";
    ComPtr<IPin> pin;
    EXPECT_EQ(demux.demux->CreateOutputPin(&type.Fields(), taken, &pin), VFW_E_DUPLICATE_NAME);
    ASSERT_EQ(demux.demux->CreateOutputPin(&type.Fields(), name, &pin), S_OK);
    PIN_INFO info{};
    ASSERT_EQ(pin->QueryPinInfo(&info), S_OK);
    EXPECT_STREQ(info.achName, name);
    EXPECT_EQ(info.dir, PINDIR_OUTPUT);
    info.pFilter->Release();

    EXPECT_EQ(demux.demux->SetOutputPinMediaType(none, &other.Fields()), VFW_E_NOT_FOUND);
    EXPECT_EQ(demux.demux->SetOutputPinMediaType(taken, &other.Fields()), VFW_E_ALREADY_CONNECTED);
    ASSERT_EQ(demux.demux->SetOutputPinMediaType(name, &other.Fields()), S_OK);
    SinkFilter* sink = demux.graph.Add(MakeObject<SinkFilter>(), L"sink");
    ASSERT_EQ(demux.graph.Connect(pin.Get(), &sink->Input()), S_OK);
    EXPECT_TRUE(sink->Input().Type() == other);

    demux.graph.Run();
    EXPECT_EQ(demux.demux->DeleteOutputPin(name), VFW_E_NOT_STOPPED);
    demux.graph.Stop();
    EXPECT_EQ(demux.demux->DeleteOutputPin(none), VFW_E_NOT_FOUND);
    EXPECT_EQ(demux.demux->DeleteOutputPin(name), S_OK);
    EXPECT_FALSE(sink->Input().IsConnected());
    ComPtr<IPin> gone;
    EXPECT_EQ(demux.demux->FindPin(name, &gone), VFW_E_NOT_FOUND);
    EXPECT_EQ(pin->QueryPinInfo(&info), S_OK) << "whoever holds the pin may still ask it";
    info.pFilter->Release();
}

TEST(Mpeg2Demultiplexer, PidMapsAreKeptAndEnumeratedInEveryState) {
    Demux demux;
    const auto map = demux.Map(L"Video Out");
    ULONG pids[] = {0x101, 0x102, 0x1FFF};
    EXPECT_EQ(map->UnmapPID(1, &pids[2]), S_FALSE) << "nothing is mapped yet";
    EXPECT_EQ(map->MapPID(2, pids, MEDIA_ELEMENTARY_STREAM), S_OK);
    EXPECT_EQ(map->MapPID(1, &pids[2], MEDIA_ELEMENTARY_STREAM), S_OK);
    demux.graph.Run();
    EXPECT_EQ(map->MapPID(1, &pids[1], MEDIA_TRANSPORT_PAYLOAD), S_OK) << "again, with other content";
    using Mapping = std::pair<ULONG, MEDIA_SAMPLE_CONTENT>;
    EXPECT_EQ(Mappings(map.Get()), (std::vector<Mapping>{{0x101, MEDIA_ELEMENTARY_STREAM},
                                                         {0x1FFF, MEDIA_ELEMENTARY_STREAM},
                                                         {0x102, MEDIA_TRANSPORT_PAYLOAD}}));
    EXPECT_TRUE(Mappings(demux.Map(L"Audio Out").Get()).empty());
    EXPECT_EQ(map->UnmapPID(2, pids), S_OK);
    EXPECT_EQ(Mappings(map.Get()), (std::vector<Mapping>{{0x1FFF, MEDIA_ELEMENTARY_STREAM}}));
    ULONG wrong = 0x2000;
    EXPECT_EQ(map->MapPID(1, &wrong, MEDIA_ELEMENTARY_STREAM), E_INVALIDARG);
    EXPECT_EQ(map->MapPID(1, pids, MEDIA_MPEG2_PSI), E_INVALIDARG);
}

TEST(Mpeg2Demultiplexer, MappingWhileRunningSwitchesTheStream) {
    Demux demux;
    demux.graph.Run();
    demux.programme.Send(14);
    EXPECT_EQ(demux.video->Count() + demux.audio->Count(), 0u) << "nothing is mapped";
    demux.MapBoth();
    demux.programme.Send(26);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 14; }));
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
    ASSERT_TRUE(WaitUntil([&] { return demux.audio->Count() >= 20; }));
    const auto samples = demux.audio->Samples();
    EXPECT_TRUE(std::ranges::any_of(samples, [](const auto& sample) { return PictureOf(sample) >= 0; }));
    EXPECT_TRUE(std::ranges::any_of(samples, [](const auto& sample) { return AudioFrameOf(sample) >= 0; }));
}

TEST(Mpeg2Demultiplexer, PicturesAndSoundArriveAheadOfTimeAndInStep) {
    Demux demux;
    demux.MapBoth();
    demux.graph.Run();
    demux.programme.Send(60);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 55; }));
    const auto videos = demux.video->Samples();
    ASSERT_TRUE(videos[0].lead.has_value());
    EXPECT_LE(*videos[0].lead, 0) << "the first picture is due at once";
    for (std::size_t i = 1; i < videos.size(); ++i) {
        EXPECT_EQ(PictureOf(videos[i]), PictureOf(videos[i - 1]) + 1);
        EXPECT_EQ(videos[i].syncPoint, PictureOf(videos[i]) % 12 == 0);
        ASSERT_TRUE(videos[i].lead.has_value());
        EXPECT_GT(*videos[i].lead, 0);
        EXPECT_LT(*videos[i].lead, LiveTiming::kLatency + 200 * kMs);
    }
    demux.ExpectInStep();
    EXPECT_EQ(demux.video->Segments(), 1);
}

// None of these may stop anything: the picture's hold is told by the longest time without a sample.
TEST(Mpeg2Demultiplexer, WrapsAndJumpsOfTheClockChangeNothing) {
    struct Row {
        const char* name;
        std::int64_t start, jump;
        bool announced;
        DWORD hold; // milliseconds at most without a sample
    };
    const Row rows[] = {
        {"33-bit wrap", kTickWrap - kTicksPerSecond, 0, false, 80},
        {"an hour forward", 1'000'000, 3600 * kTicksPerSecond, false, 300},
        {"10 s back", 10'000'000, -10 * kTicksPerSecond, false, 300},
        {"an hour forward, announced", 1'000'000, 3600 * kTicksPerSecond, true, 120},
        {"10 s back, announced", 10'000'000, -10 * kTicksPerSecond, true, 120},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Demux demux;
        demux.MapBoth();
        demux.programme.recipe.start = row.start;
        demux.graph.Run();
        demux.programme.Send(25);
        demux.programme.Jump(row.jump);
        if (row.announced) {
            demux.programme.MarkDiscontinuity();
        }
        demux.programme.Send(30);
        ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 50; }));
        const auto videos = demux.video->Samples();
        EXPECT_LE(LongestHold(videos), row.hold);
        EXPECT_LE(LongestPicture(videos), 3 * kPicture) << "holds for two pictures at most";
        EXPECT_EQ(std::ranges::any_of(videos.begin() + 1, videos.end(), &SinkFilter::Sample::discontinuity),
                  row.announced);
        demux.ExpectInStep();
        for (const auto& sample : demux.video->Samples()) {
            EXPECT_LT(std::abs(sample.lead.value_or(0)), LiveTiming::kLatency + 200 * kMs);
        }
    }
}

TEST(Mpeg2Demultiplexer, AfterAGapThePictureIsBackWithinThreeTenthsAndInStep) {
    for (const bool backlog : {true, false}) {
        SCOPED_TRACE(backlog ? "the backlog comes at once" : "the source stood still");
        Demux demux;
        demux.MapBoth();
        demux.graph.Run();
        demux.programme.Send(30);
        Sleep(1500);
        const DWORD back = GetTickCount();
        demux.programme.Send(backlog ? 38 : 0, false);
        demux.programme.Send(10);
        const int edge = demux.programme.Next();
        demux.video->Forget();
        demux.audio->Forget();
        demux.programme.Send(30);
        ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 30; }));
        const auto samples = demux.video->Samples();
        EXPECT_LT(samples.front().tick - back, 700u);
        EXPECT_GE(PictureOf(samples.back()), edge) << "at the live edge";
        EXPECT_GT(samples.back().lead.value_or(-1), 0);
        EXPECT_LT(samples.back().lead.value_or(kFarFuture), LiveTiming::kLatency + 200 * kMs);
        demux.ExpectInStep();
    }
}

TEST(Mpeg2Demultiplexer, RunAfterAPauseGoesOnAtTheLiveEdge) {
    Demux demux;
    demux.MapBoth();
    demux.graph.Run();
    demux.programme.Send(20);
    demux.graph.Pause();
    Sleep(kBlocked);
    demux.video->Forget();
    demux.audio->Forget();
    demux.programme.Send(50);
    EXPECT_EQ(demux.video->Count(), 0u) << "nothing is delivered while paused";
    const int edge = demux.programme.Next();
    demux.graph.Run();
    demux.programme.Send(30);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 30; }));
    const auto samples = demux.video->Samples();
    EXPECT_GE(PictureOf(samples.front()), edge - 12) << "decoding begins at the newest picture where it can";
    EXPECT_EQ(PictureOf(samples.front()) % 12, 0);
    EXPECT_LT(samples.back().lead.value_or(kFarFuture), LiveTiming::kLatency + 200 * kMs);
    EXPECT_GT(samples.back().lead.value_or(-1), 0);
    demux.ExpectInStep();
}

TEST(Mpeg2Demultiplexer, ABlockedOutputHoldsUpNothingElse) {
    Demux demux;
    demux.MapBoth();
    demux.graph.Run();
    demux.audio->Block(true);
    demux.programme.Send(50);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 45; }));
    EXPECT_EQ(demux.audio->Count(), 1u);
    demux.audio->Block(false);
    demux.programme.Send(10);
    ASSERT_TRUE(WaitUntil([&] { return demux.audio->Count() >= 10; }));
    const auto sounds = demux.audio->Samples();
    EXPECT_TRUE(std::ranges::all_of(sounds.begin() + 1, sounds.end(), [](const auto& sample) {
        return sample.lead.value_or(0) > -StreamPin::kLateSound - 50 * kMs;
    })) << "what comes too late is dropped";
    EXPECT_TRUE(std::ranges::any_of(sounds.begin() + 1, sounds.end(), &SinkFilter::Sample::discontinuity));
    EXPECT_GT(demux.audio->Samples().back().lead.value_or(-1), 0);
    demux.audio->Block(true);
    demux.programme.Send(5);
    demux.graph.Stop(); // frees it
}

TEST(Mpeg2Demultiplexer, DamageNeitherStopsNorUnsettlesIt) {
    Demux demux;
    demux.MapBoth();
    unsigned packets = 0;
    demux.programme.damage = [&](std::vector<TsBuilder::Packet>& all) {
        std::erase_if(all, [&](const TsBuilder::Packet&) { return ++packets % 60 == 0; });
        for (TsBuilder::Packet& packet : all) {
            packet[packets % 180 + 4] ^= packets % 37 == 0 ? 0x10 : 0;
            ++packets;
        }
    };
    demux.graph.Run();
    demux.programme.Send(90);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->Count() >= 50; }));
    const auto samples = demux.video->Samples();
    EXPECT_GE(std::ranges::count_if(samples, [](const auto& sample) { return sample.discontinuity; }), 3);
    EXPECT_LT(LongestHold(samples), 300u);
    EXPECT_GT(PictureOf(samples.back()) + PictureOf(samples[samples.size() - 2]), 0);
}

TEST(Mpeg2Demultiplexer, FlushAndEndOfStreamPassThrough) {
    Demux demux;
    demux.MapBoth();
    demux.graph.Run();
    demux.video->Block(true);
    demux.programme.Send(8);
    ASSERT_TRUE(WaitUntil([&] { return demux.video->InReceive(); }));
    EXPECT_EQ(demux.source->Output().DeliverBeginFlush(), S_OK);
    demux.video->Block(false);
    EXPECT_EQ(demux.source->Output().DeliverEndFlush(), S_OK);
    EXPECT_EQ(demux.video->Flushes(), 1);
    EXPECT_EQ(demux.audio->Flushes(), 1);
    demux.video->Forget();
    demux.programme.Send(14);
    EXPECT_EQ(demux.source->Output().DeliverEndOfStream(), S_OK);
    ASSERT_TRUE(
        WaitUntil([&] { return demux.video->EndsOfStream() == 1 && demux.audio->EndsOfStream() == 1; }));
    EXPECT_EQ(PictureOf(demux.video->Samples().front()) % 12, 0);
    EXPECT_EQ(PictureOf(demux.video->Samples().back()), demux.programme.Next() - 1)
        << "the last picture came out too";
}

} // namespace vistrame::test
