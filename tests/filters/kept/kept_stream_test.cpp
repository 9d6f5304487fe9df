#include "filters/kept/kept_stream.h"

#include <gtest/gtest.h>

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
    return found->data[1999];
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
    // Another feed, after a gap: the picture that the gap cut is none.
    kept.Append(Stream(12, 13), true, kBegin);
    kept.Append(Stream(14, 15), false, kBegin);
    EXPECT_EQ(Last(kept), 8);
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

} // namespace
} // namespace vistrame
