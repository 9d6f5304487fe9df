#include "filters/kept/kept_stream.h"

#include <gtest/gtest.h>

#include "filters/kept/largest_picture.h"
#include "filters/kept/last_picture.h"
#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

using namespace std::chrono_literals;

const KeptStream::Clock::time_point kBegin{1000s};

// An I picture as MPEG-2 has it, which says its number; others say theirs too.
Bytes Picture(int number, bool intra) {
    Bytes bytes{0,    0, 1, 0xB3, 0x2D, 0x02, 0x40,
                0x33, 0, 0, 1,    0x00, 0,    static_cast<std::uint8_t>(intra ? 8 : 16)};
    if (!intra) {
        bytes.erase(bytes.begin(), bytes.begin() + 8);
    }
    bytes.resize(2000, static_cast<std::uint8_t>(number));
    return bytes;
}

// One picture in four is an I picture; with tables of `transportStream`, and null packets between.
Bytes Stream(int from, int to, std::uint16_t transportStream = 1) {
    TsBuilder builder;
    builder.AddSection(kPatPid, MakeTable(0, transportStream, {0, 1, 0xE1, 0x00}));
    for (int picture = from; picture < to; ++picture) {
        builder.AddPes(0x101, {.pts = picture * 3600}, Picture(picture, picture % 4 == 0));
        for (int i = 0; i < 5; ++i) {
            builder.AddPacket(kNullPid, false, Bytes(184, 0xFF));
        }
    }
    return Render(builder.packets);
}

// The number of the picture found, -1: none.
int Last(const KeptStream& kept, KeptStream::Clock::time_point now = kBegin) {
    const auto found = FindLastPicture(kept.Take(now), 0x101, Coding::kMpeg2Video);
    if (!found) {
        return -1;
    }
    EXPECT_EQ(found->first, 2000U);
    EXPECT_EQ(found->data.size(), 4000U) << "with what came behind it";
    return found->data.at(1999);
}

std::size_t Size(const KeptStream::Snapshot& kept) {
    std::size_t bytes = 0;
    for (const auto& block : kept) {
        bytes += block->packets.size();
    }
    return bytes;
}

TEST(KeptStream, FindsTheNewestPictureThatHasComeInAsAWhole) {
    KeptStream kept;
    EXPECT_EQ(Last(kept), -1);
    kept.Append(Stream(0, 4), false, kBegin);
    EXPECT_EQ(Last(kept), 0);
    const Bytes more = Stream(4, 11);
    const std::size_t cut = more.size() - 900;            // within the last picture
    kept.Append(ByteSpan(more).first(101), true, kBegin); // cut anywhere
    kept.Append(ByteSpan(more).subspan(101, cut - 101), true, kBegin);
    EXPECT_EQ(Last(kept), 8);
}

// The player takes nothing between two graphs, and the pictures around such a gap are cut like those around
// lost packets.
TEST(KeptStream, FindsNoPictureThatIsCutAndOneRightBehindTheGap) {
    constexpr double kPackets = 16; // of a picture, with the null packets behind it
    const Bytes stream = Stream(0, 24);
    const auto piece = [&](double from, double to) { // in pictures, behind the table
        const auto at = [](double pictures) {
            return kPacketSize * (1 + static_cast<std::size_t>(pictures * kPackets));
        };
        return ByteSpan(stream).subspan(at(from), at(to) - at(from));
    };
    for (const bool continues : {false, true}) {
        SCOPED_TRACE(continues ? "lost" : "not taken");
        KeptStream kept;
        kept.Append(piece(0, 8.3), false, kBegin);
        EXPECT_EQ(Last(kept), 4);
        kept.Append(piece(9.2, 11), continues, kBegin);
        EXPECT_EQ(Last(kept), 4) << "of 8 the gap has the end";
        kept.Append(piece(15.3, 18.9), continues, kBegin);
        EXPECT_EQ(Last(kept), 16) << "behind the gap only the rest of another is lost";
        kept.Append(piece(20.2, 22.9), continues, kBegin);
        EXPECT_EQ(Last(kept), 16) << "of 20 the gap has the beginning";
    }
}

TEST(KeptStream, EndsWithItsStreamAndItsTime) {
    KeptStream kept;
    kept.Append(Stream(0, 8), false, kBegin);
    EXPECT_EQ(Last(kept, kBegin + KeptStream::kGoodFor), 4);
    EXPECT_EQ(Last(kept, kBegin + KeptStream::kGoodFor + 1ms), -1) << "too long ago";
    kept.Append(Stream(7, 11), true, kBegin);
    EXPECT_EQ(Last(kept), 8) << "its tables come again";
    kept.Append(Stream(1, 4, 2), true, kBegin);
    EXPECT_EQ(Last(kept), -1) << "another transport stream, with the same PIDs";
    kept.Append(Stream(3, 8, 2), true, kBegin);
    EXPECT_EQ(Last(kept), 4);
    kept.Forget();
    EXPECT_EQ(Last(kept), -1);
}

TEST(KeptStream, KeepsSixSecondsAndNoMoreThanItsBytes) {
    KeptStream kept;
    const Bytes second = Stream(0, 100);
    for (int i = 0; i < 20; ++i) {
        kept.Append(second, true, kBegin + i * 1s);
    }
    const std::size_t size = Size(kept.Take(kBegin + 19s));
    EXPECT_LT(size, second.size() * 8);
    EXPECT_GT(size, second.size() * 2 / 3 * 5) << "without the null packets";
    for (std::size_t fed = 0; fed < KeptStream::kMostBytes * 2; fed += second.size()) {
        kept.Append(second, true, kBegin + 20s);
        ASSERT_LE(Size(kept.Take(kBegin + 20s)), KeptStream::kMostBytes);
    }
}

// Two programmes of MPEG-2 video on 0x101 and 0x102, one of H.264 on 0x103; the pictures of `sizes` are sent.
Bytes Programmes(const std::vector<std::pair<Pid, std::pair<int, int>>>& sizes) {
    TsBuilder builder;
    builder.AddSection(kPatPid, MakeTable(0, 1, {0, 1, 0xE2, 0x01, 0, 2, 0xE2, 0x02, 0, 3, 0xE2, 0x03}));
    for (const std::uint8_t i : {1, 2, 3}) {
        const std::uint8_t type = i == 3 ? 0x1B : 2;
        builder.AddSection(0x200 + i, MakeTable(2, i, {0xE1, i, 0xF0, 0, type, 0xE1, i, 0xF0, 0}));
    }
    for (const auto& [pid, size] : sizes) {
        Bytes picture = Picture(0, true);
        picture[4] = static_cast<std::uint8_t>(size.first >> 4);
        picture[5] = static_cast<std::uint8_t>((size.first & 15) << 4 | size.second >> 8);
        picture[6] = static_cast<std::uint8_t>(size.second);
        builder.AddPes(pid, {.pts = 3600}, picture);
        builder.AddPes(pid, {.pts = 7200}, Picture(1, false));
    }
    return Render(builder.packets);
}

TEST(KeptStream, SaysWhatSizeHoldsEveryProgramme) {
    struct Row {
        const char* what;
        Coding coding;
        std::vector<std::pair<Pid, std::pair<int, int>>> sizes;
        std::optional<LargestPicture> expected;
    };
    const auto mpeg2 = Coding::kMpeg2Video;
    for (const auto& [what, coding, sizes, expected] :
         {Row{"both seen", mpeg2, {{0x101, {720, 576}}, {0x102, {544, 480}}}, LargestPicture{720, 576, true}},
          Row{"each larger in one way",
              mpeg2,
              {{0x101, {720, 480}}, {0x102, {544, 576}}},
              LargestPicture{720, 576, true}},
          Row{"one not seen yet", mpeg2, {{0x102, {544, 480}}}, LargestPicture{544, 480, false}},
          Row{"none", mpeg2, {}, std::nullopt},
          Row{"of another coding", Coding::kH264, {{0x101, {720, 576}}}, std::nullopt}}) {
        SCOPED_TRACE(what);
        KeptStream kept;
        EXPECT_EQ(FindLargestPicture(kept.Take(kBegin), coding), std::nullopt);
        kept.Append(Programmes(sizes), false, kBegin);
        TsBuilder more; // so that it lies far back
        for (int i = 0; i < 2000; ++i) {
            more.AddPes(0x300, {.pts = i * 3600}, Picture(i, false));
        }
        kept.Append(Render(more.packets), true, kBegin);
        EXPECT_EQ(FindLargestPicture(kept.Take(kBegin), coding), expected);
    }
}

} // namespace
} // namespace vistrame
