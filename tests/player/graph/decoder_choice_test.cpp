// Which decoders a build takes: every row of the catalogue, the automatic choice, the debugger rule.

#include "tests/player/graph/build_fixture.h"

#include <algorithm>

#include <winternl.h>

#include <gtest/gtest.h>

namespace vistrame::test {
namespace {

constexpr char kFfdshowVideoId[] = "04FE9017-F873-410E-871E-AB91661A4EF7";
constexpr char kFfdshowAudioId[] = "0F40E1E5-4F79-4988-B1A9-CC98794E6B55";
constexpr char kSomeVideoId[] = "11111111-0000-4000-8000-000000000001";
constexpr char kSomeAudioId[] = "11111111-0000-4000-8000-000000000002";
constexpr char kAbsentId[] = "11111111-0000-4000-8000-00000000000F"; // installed nowhere

void Choose(std::int32_t videoType, std::uint32_t codec) {
    VideoType = videoType;
    (videoType == 0 ? MPEG2Codec : MPEG4Codec) = codec;
}

TEST(DecoderChoice, EveryFixedPair) {
    const struct {
        std::int32_t videoType;
        std::uint32_t codec;
        std::int32_t audioType;
        const char *failure, *audioName, *audioId, *videoName, *videoId, *input, *output;
    } rows[] = {
        {0, 1, 0, "103 Intervideo MPEG2 Codecs", "IVI Audio", "7E2E0DC1-31FD-11D2-9C21-00104B3801F6",
         "IVI Video", "0246CA20-776D-11D2-8010-00104B9B8592", "Video Input", "Video Output"},
        {0, 2, 0, "104 Cyberlink MPEG2 Codecs", "Cyberlink Audio", "9BC1B780-85E3-11D2-98D0-0080C84E9C39",
         "Cyberlink Video", "9BC1B781-85E3-11D2-98D0-0080C84E9C39", "Video In", "Video Out"},
        {0, 3, 0, "105 Elecard MPEG2 Codecs", "Elecard Audio", "F6C4C97D-FBFF-433F-B099-B96A12D32391",
         "Elecard Video", "BC4EB321-771F-4E9F-AF67-37C631ECA106", "Side Out", "Side In"},
        {0, 4, 0, "106 Bitcontrol MPEG2 Codecs", "Bitcontrol Audio", "AFD00929-5690-459F-A014-7FCA9C086742",
         "Bitcontrol Video", "BECD3686-53B3-4C9E-935F-A69E06BFB44A", "Video In", "Video Out"},
        {0, 5, 0, "107 Mainconcept MPEG2 Codecs", "Mainconcept Audio", "2F75E451-A88C-4939-BFE5-D92D48C102F2",
         "Mainconcept Video", "2BE4D140-6F2E-4B3A-B0BD-E880917238DC", "Side Out", "Side In"},
        {0, 6, 0, "108 PowerDVD 6/7 MPEG2 Codecs", "PowerDVD 6/7 Audio",
         "284DC28A-4A7D-442C-BC2E-D7480556E4D8", "PowerDVD 6/7 Video", "8ACD52ED-9C2D-4008-9129-DCE955D86065",
         "Video In", "Video Out"},
        {0, 7, 0, "109 Sonic Cinemaster MPEG2 Codecs", "Sonic Audio", "9F062738-CD84-4F54-A3C4-BD5EB44F416B",
         "Sonic Video", "D7D50E8D-DD72-43C2-8587-A0C197D837D2", "Side Out", "Side In"},
        {0, 8, 0, "104 FFDShow Codecs", "FFDShow Audio", "0F40E1E5-4F79-4988-B1A9-CC98794E6B55",
         "FFDShow Video", "04FE9017-F873-410E-871E-AB91661A4EF7", "In", "Out"},
        {0, 9, 0, "104 Microsoft Codecs", "Microsoft MPEG-1/DD/AAC Audio Decoder",
         "E1F1A0B8-BEEE-490D-BA7C-066C40B5E2B9", "Microsoft MPEG-2 Video Decoder",
         "212690FB-83E5-4526-8FD7-74478B7939CD", "Side In", "Side Out"},
        {1, 1, 0, "104 PowerDVD 6 MPEG4 Codecs", "PowerDVD 6 Audio", "93509808-E912-46EF-BB97-0BFFE8655E60",
         "PowerDVD 6 H264 Video", "D12E285B-3B29-4416-BA8E-79BD81D193CC", "Video In", "Video Out"},
        {1, 3, 0, "104 PowerDVD 8 MPEG4 Codecs", "PowerDVD 8 Audio", "93509808-E912-46EF-BB97-0BFFE8655E60",
         "PowerDVD 8 H264 Video", "C16541FF-49ED-4DEA-9126-862F57722E31", "Video In", "Video Out"},
        {1, 4, 0, "104 Mainconcept MPEG4 Codecs", "Mainconcept Audio", "2F75E451-A88C-4939-BFE5-D92D48C102F2",
         "Mainconcept H264 Video", "5A157B06-E2F2-4109-994D-49398207FF22", "Side Out", "Side In"},
        {1, 4, 2, "104 Mainconcept MPEG4 Codecs", "Mainconcept Audio", "19987CEE-DEE8-49DC-98EC-F21380AA9E68",
         "Mainconcept H264 Video", "5A157B06-E2F2-4109-994D-49398207FF22", "Side Out", "Side In"},
        {1, 5, 0, "104 FFDShow Codecs", "FFDShow Audio", "0F40E1E5-4F79-4988-B1A9-CC98794E6B55",
         "CoreAVC Video", "09571A4B-F1FE-4C60-9760-DE6D310C7C31", "Side In", "Side Out"},
        {1, 7, 0, "104 Arcsoft MPEG4 Codecs", "Arcsoft Audio", "1BFE85AC-1C05-457E-812A-E55D97FD25E5",
         "Arcsoft H264 Video", "B793E9A8-C53E-4845-9DE9-C32326EACCAD", "Side Out", "Side In"},
        {1, 8, 0, "104 FFDShow Codecs", "FFDShow Audio", "0F40E1E5-4F79-4988-B1A9-CC98794E6B55",
         "FFDShow Video", "04FE9017-F873-410E-871E-AB91661A4EF7", "In", "Out"},
        {1, 9, 0, "104 Microsoft Codecs", "Microsoft MPEG-1/DD/AAC Audio Decoder",
         "E1F1A0B8-BEEE-490D-BA7C-066C40B5E2B9", "Microsoft MPEG-2 Video Decoder",
         "212690FB-83E5-4526-8FD7-74478B7939CD", "Side In", "Side Out"},
    };
    const Lines parameters = {"video decoder.SetValue 9CF1A330(3)", "video decoder.SetValue BB8F00E9(1)",
                              "video decoder.Commit"};
    for (const auto& row : rows) {
        for (const std::string missing : {"", "audio decoder", "video decoder"}) {
            SCOPED_TRACE(
                Line("VideoType %d, codec %u, missing: %s", row.videoType, row.codec, missing.c_str()));
            BuildFixture fixture(row.audioId, row.videoId);
            Choose(row.videoType, row.codec);
            AudioType = row.audioType;
            fixture.platform.broken = {missing};
            EXPECT_EQ(fixture.Build(), missing.empty() ? 1 : 0);
            Lines calls = fixture.Calls();
            if (!missing.empty()) {
                EXPECT_EQ(fixture.Log(), Line("Error: %s could not be loaded\r\n", row.failure));
                EXPECT_EQ(calls.size(), 3U) << "both are created, then checked";
                continue;
            }
            Lines expected = {
                "create audio decoder",
                "create video decoder",
                Line("graph.AddFilter(audio decoder, \"%s\")", row.audioName),
                Line("graph.AddFilter(video decoder, \"%s\")", row.videoName),
                Line("graph.ConnectDirect(demux/Video Out, video decoder/%s, no type)", row.input),
                Line("graph.ConnectDirect(video decoder/%s, VMR9/VMR Input0, no type)", row.output)};
            if (row.videoType == 0 && row.codec == 5) {
                expected.insert(expected.begin() + 4, parameters.begin(), parameters.end());
            }
            EXPECT_EQ(Matching(calls, {"create audio decoder", "video decoder", "AddFilter(audio decoder"}),
                      expected);
        }
    }
}

TEST(DecoderChoice, AutomaticSearchesByCoding) {
    const std::string h264 = "video/x264, video/X264, video/H264, video/AVC1, video/avc1, video/DAVC";
    const struct {
        std::int32_t videoType, audioType;
        std::string videoTypes, audioTypes; // no audio type: no audio decoder is looked for
    } rows[] = {{0, 0, "video/MPEG2", "audio/MPEG"}, {1, 1, h264, "audio/AC3"},
                {2, 2, "video/HEVC", "audio/LATM"},  {-1, 3, "video/HEVC", "audio/EAC3"},
                {0, 4, "video/MPEG2", ""},           {1, -1, h264, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(Line("VideoType %d, AudioType %d", row.videoType, row.audioType));
        BuildFixture fixture(kSomeAudioId, kSomeVideoId);
        Choose(row.videoType, 0);
        AudioType = row.audioType;
        fixture.platform.mappings = {{"video", {{Guid(kSomeVideoId), L"Some Video"}}},
                                     {"audio", {{Guid(kSomeAudioId), L"Some Audio"}}}};
        EXPECT_EQ(fixture.Build(), 1);
        const Lines all = fixture.Calls();
        Lines expected;
        for (const auto& [kind, types] : {std::pair("video", row.videoTypes), {"audio", row.audioTypes}}) {
            if (!types.empty()) {
                expected.emplace_back("create mapper");
                expected.push_back("mapper.EnumMatchingFilters(" + types +
                                   ", flags 0, exact 1, merit 200001, input 1, render 0, output 1)");
                expected.push_back(Line("create %s decoder", kind));
                expected.push_back(
                    Line("graph.AddFilter(%s decoder, \"Some %s\")", kind, *kind == 'v' ? "Video" : "Audio"));
            }
        }
        EXPECT_EQ(Lines(all.begin() + 1, std::ranges::find(all, "create feed")), expected);
        EXPECT_EQ(Matching(all, {"ConnectDirect(video decoder/Side Out", "video decoder/Side In"}).size(), 2U)
            << "first pins by direction";
        EXPECT_EQ(fixture.player.audioDecoder != nullptr, !row.audioTypes.empty());
        EXPECT_EQ(fixture.Log(), "");
        fixture.player.ReleaseGraph();
        EXPECT_EQ(fixture.Build(), 1);
        EXPECT_EQ(Matching(fixture.Calls(), {"EnumMatchingFilters"}), Lines()) << "remembered";
    }
}

// FFDShow takes nearly everything and stands back unless it is the only one; the first other one is taken,
// and no second one is tried.
TEST(DecoderChoice, AutomaticTakesTheFirstThatIsNotTheLastResort) {
    using Found = std::vector<const char*>;
    const char* const noVideo = "Error: 104 No MPEG4 video codec found\r\n";
    const char* const noHevc = "Error: 104 No HEVC video codec found\r\n";
    const char* const noAudio = "Error: 104 No matching audio codec found\r\n";
    const Found video = {kSomeVideoId};
    const Found audio = {kSomeAudioId};
    const struct {
        const char* name;
        std::int32_t videoType;
        Found video, audio;
        const char* log; // empty: the installed pair was taken
    } rows[] = {
        {"passed over", 0, {kFfdshowVideoId, kSomeVideoId, kAbsentId}, {kFfdshowAudioId, kSomeAudioId}, ""},
        {"twice and nothing else", 0, {kFfdshowVideoId, kFfdshowVideoId}, audio, noVideo},
        {"no second try", 0, {kAbsentId, kSomeVideoId}, audio, noVideo},
        {"no second try for audio", 0, video, {kAbsentId, kSomeAudioId}, noAudio},
        {"alone", 0, {kFfdshowVideoId}, {kFfdshowAudioId}, ""},
        {"none", 0, {}, audio, noVideo},
        {"none for H.264", 1, {}, audio, noVideo},
        {"none for HEVC", 2, {}, audio, noHevc},
        {"no audio", 1, video, {}, noAudio},
        {"broken registration counts for nothing", 0, {nullptr, kSomeVideoId}, audio, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const bool some = row.name != std::string("alone");
        BuildFixture fixture(some ? kSomeAudioId : kFfdshowAudioId, some ? kSomeVideoId : kFfdshowVideoId);
        Choose(row.videoType, 0);
        for (const auto& [kind, ids] : {std::pair("video", row.video), std::pair("audio", row.audio)}) {
            for (const char* const id : ids) {
                fixture.platform.mappings[kind].push_back(
                    {id == nullptr ? std::nullopt : std::optional(Guid(id)), L"Name"});
            }
        }
        EXPECT_EQ(fixture.Build(), *row.log == 0 ? 1 : 0);
        EXPECT_EQ(fixture.Log(), row.log);
    }
}

// None of the pairs is installed. A debugger replaces choice 1 for the build only.
TEST(DecoderChoice, EmptyRowsLargerValuesAndTheDebuggersChoice) {
    BYTE* const beingDebugged =
        &NtCurrentTeb()->ProcessEnvironmentBlock->BeingDebugged; // IsDebuggerPresent reads it
    ASSERT_EQ(*beingDebugged, 0);
    const std::string noPins =
        "111 The video Directshow decoder filter did not expose the expected input/output pins.";
    const struct {
        BYTE debugged;
        std::int32_t videoType;
        std::uint32_t codec;
        std::string error;
    } rows[] = {
        {0, 0, 10, "110 Invalid MPEG2 Codec selected\r\n"},
        {0, 1, 2, noPins},
        {0, 1, 6, noPins},
        {0, 1, 10, noPins},
        {1, 0, 1, "104 Cyberlink MPEG2 Codecs could not be loaded"},
        {0, 0, 1, "103 Intervideo MPEG2 Codecs could not be loaded"},
        {1, 1, 1, "104 PowerDVD 6 MPEG4 Codecs could not be loaded"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Line("debugged %d, VideoType %d, codec %u", row.debugged, row.videoType, row.codec));
        BuildFixture fixture(kSomeAudioId, kSomeVideoId);
        Choose(row.videoType, row.codec);
        *beingDebugged = row.debugged;
        EXPECT_EQ(fixture.Build(), 0);
        *beingDebugged = 0;
        EXPECT_EQ(fixture.Log(), "Error: " + row.error + "\r\n");
        EXPECT_EQ(row.videoType == 0 ? MPEG2Codec : MPEG4Codec, row.codec);
    }
}

} // namespace
} // namespace vistrame::test
