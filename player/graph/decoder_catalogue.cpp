#include "player/graph/decoder_catalogue.h"

#include <algorithm>
#include <array>

#include "player/graph/media_ids.h"
#include "contract/launch_line.h"

namespace vistrame {
namespace {

constexpr ClassId kMainconceptAudio = "2F75E451-A88C-4939-BFE5-D92D48C102F2"_id;
constexpr ClassId kMainconceptLatmAudio = "19987CEE-DEE8-49DC-98EC-F21380AA9E68"_id;
constexpr ClassId kPowerDvdMpeg4Audio = "93509808-E912-46EF-BB97-0BFFE8655E60"_id;

// The identifiers' meaning is the vendor's own.
constexpr std::array kMainconceptParameters{
    FilterParameter{"9CF1A330-E72B-4A6D-BBE8-199595944546"_id, 3},
    FilterParameter{"BB8F00E9-655B-47C4-966A-A4B4BBF8D2D2"_id, 1},
};

constexpr NamedClass kFfdshowAudioFilter{L"FFDShow Audio", kFfdshowAudio};
constexpr NamedClass kFfdshowVideoFilter{L"FFDShow Video", kFfdshowVideo};
constexpr NamedClass kMicrosoftAudioFilter{L"Microsoft MPEG-1/DD/AAC Audio Decoder",
                                           "E1F1A0B8-BEEE-490D-BA7C-066C40B5E2B9"_id};
constexpr NamedClass kMicrosoftVideoFilter{L"Microsoft MPEG-2 Video Decoder", // of H.264 as well
                                           "212690FB-83E5-4526-8FD7-74478B7939CD"_id};

// A search reports by coding (see kVideoSearches), so its row has no failure of its own.
constexpr DecoderRow Search() {
    return {0, DecoderSource::kSearch, {}, {}, {}};
}

constexpr DecoderRow Pair(std::uint32_t choice, NamedClass audio, NamedClass video, PinRule pins,
                          BuildError failure) {
    return {choice, DecoderSource::kFixedPair, audio, video, failure, pins};
}

constexpr DecoderRow None(std::uint32_t choice, BuildError failure) {
    return {choice, DecoderSource::kNone, {}, {}, failure};
}

constexpr DecoderRow WithParameters(DecoderRow row, std::span<const FilterParameter> parameters) {
    row.videoParameters = parameters;
    return row;
}

constexpr DecoderRow WithLatmAudio(DecoderRow row, const ClassId& audio) {
    row.latmAudio = &audio;
    return row;
}

// Rows 0 to 9, then the row of every larger value.
constexpr std::size_t kChoices = 10;
using DecoderTable = std::array<DecoderRow, kChoices + 1>;

constexpr DecoderTable kMpeg2Decoders{
    Search(),
    Pair(1, {L"IVI Audio", "7E2E0DC1-31FD-11D2-9C21-00104B3801F6"_id},
         {L"IVI Video", "0246CA20-776D-11D2-8010-00104B9B8592"_id}, PinRule::kVideoInputVideoOutput,
         kNoIntervideoMpeg2),
    Pair(2, {L"Cyberlink Audio", "9BC1B780-85E3-11D2-98D0-0080C84E9C39"_id},
         {L"Cyberlink Video", "9BC1B781-85E3-11D2-98D0-0080C84E9C39"_id}, PinRule::kVideoInVideoOut,
         kNoCyberlinkMpeg2),
    Pair(3, {L"Elecard Audio", "F6C4C97D-FBFF-433F-B099-B96A12D32391"_id},
         {L"Elecard Video", "BC4EB321-771F-4E9F-AF67-37C631ECA106"_id}, PinRule::kFirstAndSecond,
         kNoElecardMpeg2),
    Pair(4, {L"Bitcontrol Audio", "AFD00929-5690-459F-A014-7FCA9C086742"_id},
         {L"Bitcontrol Video", "BECD3686-53B3-4C9E-935F-A69E06BFB44A"_id}, PinRule::kVideoInVideoOut,
         kNoBitcontrolMpeg2),
    WithParameters(Pair(5, {L"Mainconcept Audio", kMainconceptAudio},
                        {L"Mainconcept Video", "2BE4D140-6F2E-4B3A-B0BD-E880917238DC"_id},
                        PinRule::kFirstAndSecond, kNoMainconceptMpeg2),
                   kMainconceptParameters),
    Pair(6, {L"PowerDVD 6/7 Audio", "284DC28A-4A7D-442C-BC2E-D7480556E4D8"_id},
         {L"PowerDVD 6/7 Video", "8ACD52ED-9C2D-4008-9129-DCE955D86065"_id}, PinRule::kVideoInVideoOut,
         kNoPowerDvd67Mpeg2),
    Pair(7, {L"Sonic Audio", "9F062738-CD84-4F54-A3C4-BD5EB44F416B"_id},
         {L"Sonic Video", "D7D50E8D-DD72-43C2-8587-A0C197D837D2"_id}, PinRule::kFirstAndSecond,
         kNoSonicMpeg2),
    Pair(8, kFfdshowAudioFilter, kFfdshowVideoFilter, PinRule::kInOut, kNoFfdshow),
    Pair(9, kMicrosoftAudioFilter, kMicrosoftVideoFilter, PinRule::kFirstInputFirstOutput, kNoMicrosoft),
    None(10, kInvalidMpeg2Codec),
};

// Slots 2 and 6 stay empty.
constexpr DecoderTable kMpeg4Decoders{
    Search(),
    Pair(1, {L"PowerDVD 6 Audio", kPowerDvdMpeg4Audio},
         {L"PowerDVD 6 H264 Video", "D12E285B-3B29-4416-BA8E-79BD81D193CC"_id}, PinRule::kVideoInVideoOut,
         kNoPowerDvd6Mpeg4),
    None(2, kNoDecoderPins),
    Pair(3, {L"PowerDVD 8 Audio", kPowerDvdMpeg4Audio},
         {L"PowerDVD 8 H264 Video", "C16541FF-49ED-4DEA-9126-862F57722E31"_id}, PinRule::kVideoInVideoOut,
         kNoPowerDvd8Mpeg4),
    WithLatmAudio(Pair(4, {L"Mainconcept Audio", kMainconceptAudio},
                       {L"Mainconcept H264 Video", "5A157B06-E2F2-4109-994D-49398207FF22"_id},
                       PinRule::kFirstAndSecond, kNoMainconceptMpeg4),
                  kMainconceptLatmAudio),
    Pair(5, kFfdshowAudioFilter, {L"CoreAVC Video", "09571A4B-F1FE-4C60-9760-DE6D310C7C31"_id},
         PinRule::kFirstInputFirstOutput, kNoFfdshow),
    None(6, kNoDecoderPins),
    Pair(7, {L"Arcsoft Audio", "1BFE85AC-1C05-457E-812A-E55D97FD25E5"_id},
         {L"Arcsoft H264 Video", "B793E9A8-C53E-4845-9DE9-C32326EACCAD"_id}, PinRule::kFirstAndSecond,
         kNoArcsoftMpeg4),
    Pair(8, kFfdshowAudioFilter, kFfdshowVideoFilter, PinRule::kInOut, kNoFfdshow),
    Pair(9, kMicrosoftAudioFilter, kMicrosoftVideoFilter, PinRule::kFirstInputFirstOutput, kNoMicrosoft),
    None(10, kNoDecoderPins),
};

constexpr bool IsIndexedByChoice(const DecoderTable& table) {
    return std::ranges::all_of(table, [&](const DecoderRow& row) { return &row == &table[row.choice]; });
}

constexpr bool PairsAreComplete(const DecoderTable& table) {
    return std::ranges::all_of(table, [](const DecoderRow& row) {
        return row.source != DecoderSource::kFixedPair ||
               (row.audio.graphName != nullptr && row.video.graphName != nullptr &&
                row.audio.id != row.video.id && row.failure.text != nullptr);
    });
}

static_assert(IsIndexedByChoice(kMpeg2Decoders) && IsIndexedByChoice(kMpeg4Decoders));
static_assert(PairsAreComplete(kMpeg2Decoders) && PairsAreComplete(kMpeg4Decoders));
static_assert(kMpeg2Decoders.back().source == DecoderSource::kNone &&
              kMpeg4Decoders.back().source == DecoderSource::kNone);

constexpr std::array kMpeg2Subtypes{kMpeg2Video};
constexpr std::array kH264Subtypes{FourCcSubtype("x264"), FourCcSubtype("X264"), kH264Video,
                                   FourCcSubtype("AVC1"), FourCcSubtype("avc1"), FourCcSubtype("DAVC")};
constexpr std::array kHevcSubtypes{kHevcVideo};

// By VideoType; the last one also for every other value.
constexpr std::array kVideoSearches{
    VideoSearch{kMpeg2Subtypes, kNoVideoCodec},
    VideoSearch{kH264Subtypes, kNoVideoCodec},
    VideoSearch{kHevcSubtypes, kNoHevcCodec},
};

constexpr std::array kAudioSubtypes{kMpegAudio, kAc3Audio, kLatmAacAudio, kEac3Audio}; // by AudioType

} // namespace

std::optional<PinNames> NamesOf(PinRule rule) {
    switch (rule) {
        case PinRule::kVideoInputVideoOutput:
            return PinNames{L"Video Input", L"Video Output"};
        case PinRule::kVideoInVideoOut:
            return PinNames{L"Video In", L"Video Out"};
        case PinRule::kInOut:
            return PinNames{L"In", L"Out"};
        case PinRule::kFirstInputFirstOutput:
        case PinRule::kFirstAndSecond:
            break;
    }
    return std::nullopt;
}

const DecoderRow& FindDecoderRow(std::int32_t videoType, std::uint32_t mpeg2Codec, std::uint32_t mpeg4Codec) {
    const bool mpeg2 = videoType == kVideoTypeMpeg2;
    const DecoderTable& table = mpeg2 ? kMpeg2Decoders : kMpeg4Decoders;
    return table[std::min<std::size_t>(mpeg2 ? mpeg2Codec : mpeg4Codec, kChoices)];
}

const ClassId& AudioClassOf(const DecoderRow& row, std::int32_t audioType) {
    return audioType == kAudioTypeAac && row.latmAudio != nullptr ? *row.latmAudio : row.audio.id;
}

const VideoSearch& VideoSearchFor(std::int32_t videoType) {
    const std::size_t last = kVideoSearches.size() - 1;
    return kVideoSearches[std::min(static_cast<std::size_t>(static_cast<std::uint32_t>(videoType)), last)];
}

const ClassId* AudioSubtypeFor(std::int32_t audioType) {
    const auto index = static_cast<std::uint32_t>(audioType); // negative numbers are "other" like large ones
    return index < kAudioSubtypes.size() ? &kAudioSubtypes[index] : nullptr;
}

} // namespace vistrame
