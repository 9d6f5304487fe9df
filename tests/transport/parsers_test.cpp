// Parsers of single pieces: headers of PES packets, starts of pictures, texts of service information.
// What damage does to whole streams is tested with the demultiplexer.
#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"
#include "transport/aac_framing.h"
#include "transport/access_unit.h"
#include "transport/clock.h"
#include "transport/dual_mono.h"
#include "transport/pes_assembler.h"
#include "transport/picture_headers.h"
#include "transport/service_text.h"

namespace vistrame {
namespace {

TEST(PesHeader, Fields) {
    struct Row {
        const char* name;
        Bytes bytes;
        PesHeaderState state;
        std::size_t size, total;
        std::optional<std::uint64_t> pts, dts;
    };
    using enum PesHeaderState;
    constexpr std::int64_t kTop = kTickWrap - 1;
    const Bytes both = MakePes({.pts = kTop, .dts = 0x1'2345'6789, .bounded = true}, Bytes(10));
    const auto flipped = [&](std::size_t at, std::uint8_t mask) {
        Bytes bytes = both;
        bytes[at] ^= mask;
        return bytes;
    };
    const Row rows[] = {
        {"both stamps, bounded", both, kValid, 19, 29, kTop, 0x1'2345'6789},
        {"PTS only, unbounded", MakePes({.pts = 7}, {}), kValid, 14, 0, 7, 7},
        {"marker of the PTS damaged", flipped(9, 1), kValid, 19, 29, {}, {}},
        {"marker of the DTS damaged", flipped(16, 1), kValid, 19, 29, kTop, kTop},
        {"header shorter than its stamps", flipped(8, 0x09), kValid, 12, 29, {}, {}},
        {"no start code", flipped(2, 1), kInvalid, 0, 0, {}, {}},
        {"cut", Bytes(both.begin(), both.begin() + 18), kIncomplete, 0, 0, {}, {}},
    };
    for (const Row& row : rows) {
        PesHeader header;
        ASSERT_EQ(ParsePesHeader(row.bytes, header), row.state) << row.name;
        const auto fields = [](const auto& from) {
            return std::tuple(from.size, from.total, from.pts, from.dts);
        };
        EXPECT_TRUE(row.state != kValid || fields(header) == fields(row)) << row.name;
    }
}

// What makes a place one where decoding can begin, and what looks like it.
TEST(AccessUnit, RandomAccessPoints) {
    struct Row {
        const char* name;
        Coding coding;
        bool start;
        std::vector<Bytes> units; // behind start codes
    };
    using enum Coding;
    const Bytes sequence{0xB3, 0x2D, 0x02, 0x40, 0x33};
    const Bytes intra{0x00, 0x00, 0x0F, 0xFF}; // temporal reference 0, coding type 1
    const Bytes sps{0x67, 0x64, 0x00, 0x28};
    const Bytes recovery{0x06, 0x06, 0x01, 0x84, 0x80};
    const Bytes timing{0x06, 0x01, 0x03, 0x06, 0x06, 0x06, 0x80}; // looks like a recovery point inside
    const Bytes idr{0x65, 0x88, 0x84};
    const Bytes sliceI{0x41, 0x88, 0x80}; // first macroblock 0, type 7
    const Bytes sliceP{0x41, 0x9A, 0x00}; // first macroblock 0, type 5
    const Row rows[] = {
        {"MPEG-2 sequence and I", kMpeg2Video, true, {sequence, {0xB8, 0, 0, 0, 0}, intra}},
        {"H.264 IDR", kH264, true, {sps, idr}},
        {"H.264 recovery point", kH264, true, {recovery, sliceP}},
        {"H.264 other message", kH264, false, {timing, sliceP}},
        {"H.264 parameters and I slice", kH264, true, {sps, sliceI}},
        {"H.264 parameters and P slice", kH264, false, {sps, sliceP, idr}},
        {"HEVC IDR (19)", kHevc, true, {{0x40, 0x01}, {0x26, 0x01, 0xAF}}},
        {"HEVC CRA (21)", kHevc, true, {{0x2A, 0x01, 0xAF}}},
        {"HEVC trailing (1)", kHevc, false, {{0x02, 0x01, 0xD0}, {0x26, 0x01}}},
    };
    for (const Row& row : rows) {
        Bytes bytes;
        for (const Bytes& unit : row.units) {
            bytes.insert(bytes.end(), {0, 0, 0, 1});
            bytes.insert(bytes.end(), unit.begin(), unit.end());
        }
        EXPECT_EQ(IsRandomAccessPoint(row.coding, bytes), row.start) << row.name;
    }
}

TEST(AacFraming, OnlyWhatHoldsForAWholeFrameCounts) {
    using enum Coding;
    const Bytes loas{0x56, 0xE0, 0x02, 1, 2};                         // two bytes behind the length
    const Bytes adts{0xFF, 0xF1, 0x4C, 0x80, 0x01, 0x3F, 0xFC, 1, 2}; // nine in all
    struct Row {
        const char* name;
        std::vector<Bytes> parts;
        bool loas, adts;
    };
    const Row rows[] = {
        {"LOAS", {loas, loas}, true, false},
        {"ADTS, one frame", {adts}, false, true},
        {"ADTS behind the rest of a frame", {{9, 0x56, 0xE0}, adts, {0xFF, 0xF9}}, false, true},
        {"MPEG audio, layer 2", {{0xFF, 0xFD, 0x4C, 0x80, 0x01, 0x3F, 0xFC, 1, 2}}, false, false},
        {"cut", {Bytes(adts.begin(), adts.begin() + 5)}, false, false},
        {"nothing follows", {loas, {1, 2, 3}}, false, false},
    };
    for (const Row& row : rows) {
        Bytes bytes;
        for (const Bytes& part : row.parts) {
            bytes.insert(bytes.end(), part.begin(), part.end());
        }
        EXPECT_EQ(HoldsAacFrame(kAacLatm, bytes), row.loas) << row.name;
        EXPECT_EQ(HoldsAacFrame(kAacAdts, bytes), row.adts) << row.name;
    }
}

TEST(DualMono, IsSaidByTheFramesHeader) {
    using enum Coding;
    struct Row {
        const char* name;
        Coding coding;
        Bytes frame;
        bool dual;
    };
    const Row rows[] = {
        {"MPEG audio, two channels", kMpegAudio, {0xFF, 0xFD, 0xA4, 0x80, 0, 0, 0}, true},
        {"MPEG audio, joint stereo", kMpegAudio, {0xFF, 0xFD, 0xA4, 0x40, 0, 0, 0}, false},
        {"AC-3, 1+1", kAc3, {0x0B, 0x77, 0, 0, 0x14, 0x40, 0x00}, true},
        {"AC-3, 2/0", kAc3, {0x0B, 0x77, 0, 0, 0x14, 0x40, 0x40}, false},
        {"E-AC-3, 1+1", kEac3, {0x0B, 0x77, 0, 0, 0x31, 0x80, 0xFF}, true},
        {"E-AC-3, 2/0", kEac3, {0x0B, 0x77, 0, 0, 0x35, 0x80, 0x00}, false},
        {"cut", kAc3, {0x0B, 0x77, 0, 0, 0x14}, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(IsDualMono(row.coding, row.frame), row.dual) << row.name;
    }
}

TEST(ServiceText, BecomesUtf8) {
    struct Row {
        const char* name;
        std::string text; // octal escapes, since hexadecimal ones would swallow the letters behind them
        std::string utf8;
    };
    const Row rows[] = {
        {"default table: marks before letters", "\310uber \317S\302e \313c", "über Šé ç"},
        {"default table: letters, euro", "\244 \341\371 \373", "€ Æø ß"},
        {"8859-5 by one byte", "\001\277\340", "Пр"},
        {"utf-8", "\025Tøndel 📺\302\206", "Tøndel 📺"},
        {"utf-8, malformed", "\025a\303(\355\240\200\377\342\202",
         "a\xEF\xBF\xBD(\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(DecodeServiceText(Bytes(row.text.begin(), row.text.end())), row.utf8) << row.name;
    }
}

// As encoders wrote them.
const Bytes kAvc{0, 0,    1,    0x67, 0x64, 0, 0x1E, 0xAC, 0xD9, 0x40, 0xB4, 0x12, 0x6F, 0xFC, 0x01, 0,
                 0, 0xB4, 0x40, 0,    0,    3, 0,    0x40, 0,    0,    0x0C, 0x83, 0xC5, 0x8B, 0x65, 0x80};
const Bytes kInterlaced{0,    0, 1, 0x67, 0x64, 0,    0x28, 0xAC, 0xD9, 0x40, 0x78, 0x04, 0x4F, 0xDE, 0x02,
                        0x20, 0, 0, 3,    0,    0x20, 0,    0,    6,    0x43, 0xE2, 0xC5, 0xB2, 0xC0};
const Bytes kHevc{0, 0, 1, 0x42, 1,    1, 2,    0x20, 0,    0,    3,    0,    0x90, 0,    0,    3,   0,
                  0, 3, 0, 0x78, 0xA0, 3, 0xC0, 0x80, 0x10, 0xE4, 0xD9, 0x65, 0x66, 0x92, 0x4C, 0xAF};
const Bytes kMpeg2{0xFF, 0, 0, 1, 0xB3, 0x2D, 2, 0x40, 0x33, 0xFF};

// Cut short as well.
TEST(PictureShape, OfEachCoding) {
    struct Row {
        Coding coding;
        const Bytes& header;
        PictureShape shape;
    };
    const Row rows[] = {
        {Coding::kH264, kAvc, {720, 576, 16.0 / 9}},
        {Coding::kH264, kInterlaced, {1920, 1080, 16.0 / 9}},
        {Coding::kHevc, kHevc, {1920, 1080, 16.0 / 9}},
        {Coding::kMpeg2Video, kMpeg2, {720, 576, 16.0 / 9}},
    };
    for (const Row& row : rows) {
        const auto found = FindPictureShape(row.coding, row.header);
        ASSERT_TRUE(found.has_value()) << CodingName(row.coding);
        EXPECT_EQ(found->width, row.shape.width);
        EXPECT_EQ(found->height, row.shape.height);
        EXPECT_NEAR(found->aspect, row.shape.aspect, 0.001);
        EXPECT_FALSE(FindPictureShape(Coding::kMpegAudio, row.header).has_value());
        EXPECT_FALSE(FindPictureShape(row.coding, ByteSpan(row.header).first(8)).has_value());
    }
    const Bytes largestStep{0,    0, 1, 0x67, 0x64, 0,    0x1E, 0xAD, // of a scaling list
                            0x80, 0, 0, 0,    0xFF, 0xFF, 0xFF, 0xFC};
    EXPECT_FALSE(FindPictureShape(Coding::kH264, largestStep).has_value());
}

// Headers, then a picture that says which part of it holds the picture, in one PID's packets.
TEST(PictureHeaders, SayShapeAndActiveFormat) {
    const Bytes message{4, 9, 0xB5, 0, 0x31, 'D', 'T', 'G', '1', 0x41, 0xFA, 0x80};
    const auto joined = [](std::initializer_list<Bytes> parts) {
        Bytes all;
        for (const Bytes& part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    };
    const auto user = [](Bytes data) {
        data.insert(data.begin(), {0, 0, 1, 0xB2, 'D', 'T', 'G', '1'});
        return data;
    };
    const Bytes captions{0, 0, 1, 0xB2, 'G', 'A', '9', '4', 3, 0x41, 0xFA};
    const Bytes other{4, 3, 0xB5, 0, 0x31, 5, 1, 0x33};
    const Bytes nothing(3000); // longer than what is looked at
    struct Row {
        Coding coding;
        Bytes unit;
        Bytes next;
        const char* text;
    };
    const Row rows[] = {
        {Coding::kMpeg2Video, kMpeg2, nothing, "720x576 16:9"},
        {Coding::kMpeg2Video, joined({kMpeg2, captions, user({0x41, 0xFB})}), nothing,
         "720x576 16:9, AFD 14:9 centre"},
        {Coding::kMpeg2Video, joined({kMpeg2, user({0x41, 0xFB})}), user({0x41, 0xF5}),
         "720x576 16:9, AFD reserved 5"},
        {Coding::kMpeg2Video, joined({kMpeg2, user({0x41, 0xFB})}), kMpeg2, "720x576 16:9"},
        {Coding::kMpeg2Video, joined({kMpeg2, user({0x01})}), nothing, "720x576 16:9, AFD not said"},
        {Coding::kMpeg2Video, joined({kMpeg2, user({0x41})}), {}, "720x576 16:9"}, // cut
        {Coding::kMpeg2Video, joined({kMpeg2, {0, 0, 1, 1, 9}, user({0x41, 0xF8})}),
         nothing, // behind a slice
         "720x576 16:9"},
        {Coding::kH264, joined({kAvc, {0, 0, 1, 6}, other, message}), nothing,
         "720x576 16:9, AFD 16:9 centre"},
        {Coding::kHevc, joined({kHevc, {0, 0, 1, 0x4E, 1}, message}), nothing,
         "1920x1080 16:9, AFD 16:9 centre"},
    };
    for (const Row& row : rows) {
        TsBuilder builder;
        for (const Bytes& unit : {row.unit, row.next, Bytes()}) {
            builder.AddPes(0x101, {}, unit);
        }
        PictureHeaders headers(row.coding);
        for (const TsBuilder::Packet& packet : builder.packets) {
            headers.Push(PacketView(packet));
        }
        EXPECT_EQ(headers.Text(), row.text);
    }
}

} // namespace
} // namespace vistrame
