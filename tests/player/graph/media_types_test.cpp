// The media types of the demultiplexers' output pins, byte for byte.

#include "player/graph/media_types.h"

#include <cstring>

#include <gtest/gtest.h>

#include "player/graph/com.h"
#include "tests/support/com_fake.h"

namespace vistrame::test {
namespace {

// A value that is not zero: where it stands, how many bytes it has, lowest first.
struct Value {
    std::size_t offset;
    std::size_t width;
    std::uint64_t value;
};
using Values = std::vector<Value>;

// `name` as the recording platform shows types; the block's length is not always the declared one.
void ExpectType(FixedMediaType type, const std::string& name, std::size_t blockLength, const Values& values) {
    const AM_MEDIA_TYPE& made = *type.Get();
    EXPECT_EQ(Text(&made), name);
    EXPECT_TRUE(made.bFixedSizeSamples == 0 && made.bTemporalCompression == 0 && made.lSampleSize == 0 &&
                made.pUnk == nullptr);
    ASSERT_EQ(made.pbFormat == nullptr, blockLength == 0);
    std::vector<BYTE> block(blockLength);
    for (const auto& [offset, width, value] : values) {
        std::memcpy(&block.at(offset), &value, width); // lowest byte first, as here
    }
    EXPECT_EQ(std::vector<BYTE>(made.pbFormat, made.pbFormat + blockLength), block);
}

const Values kMpeg2Values = {{56, 4, 4}, {60, 4, 3},  {72, 4, 40}, {76, 4, 1920}, {80, 4, 1080},
                             {84, 2, 1}, {86, 2, 32}, {120, 4, 2}, {124, 4, 2},   {128, 4, 1}};
const Values kH264Values = {{40, 8, 417083}, {56, 4, 16}, {60, 4, 9},  {72, 4, 40},         {76, 4, 1280},
                            {80, 4, 720},    {84, 2, 1},  {86, 2, 24}, {88, 4, 0x31637661}, // "avc1"
                            {96, 4, 1},      {100, 4, 1}};
const Values kMpegAudioValues = {{0, 2, 0x50},    {2, 2, 2},   {4, 4, 48000}, {8, 4, 24000},
                                 {12, 2, 576},    {14, 2, 16}, {16, 2, 22},   {18, 2, 2},
                                 {20, 4, 192000}, {24, 2, 1},  {26, 2, 1},    {30, 2, 0x10}};
const Values kDolbyValues = {{0, 2, 1}, {2, 2, 2}, {4, 4, 48000}, {8, 4, 192000}, {12, 2, 4}, {14, 2, 16}};
const Values kLatmValues = {{0, 2, 0xFF}, {2, 2, 2},  {4, 4, 48000}, {8, 4, 9375},
                            {12, 2, 400}, {16, 2, 2}, {18, 1, 0x11}, {19, 1, 0x90}};

TEST(MediaTypes, VideoOfThePlatformDemultiplexer) {
    ExpectType(PlatformVideoType(0), "video/MPEG2 MPEG2VIDEOINFO 1136", 2136, kMpeg2Values);
    ExpectType(PlatformVideoType(1), "video/H264 none 1136", 2136, kH264Values);
    for (const std::int32_t other : {2, 3, -1}) {
        ExpectType(PlatformVideoType(other), "video/HEVC none 1136", 2136, kH264Values);
    }
}

TEST(MediaTypes, VideoOfTheMakersDemultiplexer) {
    EXPECT_FALSE(KorvixVideoType(0).has_value());
    ExpectType(KorvixVideoType(1).value(), "video/H264 MPEG2VIDEOINFO 136", 136, kH264Values);
    for (const std::int32_t other : {2, -1}) {
        ExpectType(KorvixVideoType(other).value(), "video/HEVC", 0, {});
    }
}

// The MPEG-2 row decides what the type starts from, whatever the video is; the audio coding then overwrites
// some of it.
TEST(MediaTypes, AudioOfThePlatformDemultiplexer) {
    const std::pair<std::uint32_t, bool> presets[] = {
        {0, true}, {1, true}, {2, true},  {3, true},  {4, true},   {5, false},
        {6, true}, {7, true}, {8, false}, {9, false}, {10, false}, {0xFFFFFFFF, false}};
    for (const auto& [codec, preset] : presets) {
        SCOPED_TRACE(codec);
        const std::string major = preset ? "audio/" : "none/";
        const std::string start = major + (preset ? "MPEG" : "none");
        ExpectType(PlatformAudioType(0, codec), start + " WAVEFORMATEX 40", 40, kMpegAudioValues);
        ExpectType(PlatformAudioType(1, codec), major + "AC3 WAVEFORMATEX 18", 18, kDolbyValues);
        ExpectType(PlatformAudioType(2, codec), "audio/LATM WAVEFORMATEX 20", 20, kLatmValues);
        ExpectType(PlatformAudioType(3, codec), major + "EAC3 WAVEFORMATEX 18", 18, kDolbyValues);
        for (const std::int32_t other : {4, -1}) {
            ExpectType(PlatformAudioType(other, codec), start, 0, {});
        }
    }
}

} // namespace
} // namespace vistrame::test
