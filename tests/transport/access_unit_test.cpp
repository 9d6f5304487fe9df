// Where decoding can begin, per coding: what makes it a start, and what looks like one.
#include "transport/access_unit.h"

#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

// Units behind start codes.
Bytes Units(std::initializer_list<Bytes> units) {
    Bytes bytes;
    for (const Bytes& unit : units) {
        bytes.insert(bytes.end(), {0, 0, 0, 1});
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

TEST(AccessUnit, RandomAccessPoints) {
    struct Row {
        const char* name;
        Coding coding;
        bool start;
        Bytes bytes;
    };
    const Bytes sequence{0xB3, 0x2D, 0x02, 0x40, 0x33};
    const Bytes intra{0x00, 0x00, 0x0F, 0xFF}; // temporal reference 0, coding type 1
    const Bytes inter{0x00, 0x00, 0x17, 0xFF}; // coding type 2
    const Bytes aud{0x09, 0x10};
    const Bytes sps{0x67, 0x64, 0x00, 0x28};
    const Bytes recovery{0x06, 0x06, 0x01, 0x84, 0x80};
    const Bytes timing{0x06, 0x01, 0x03, 0x06,
                       0x06, 0x06, 0x80}; // its bytes look like a recovery point's type
    const Bytes longThenRecovery{0x06, 0x05, 0x02, 0x11, 0x22, 0x06, 0x01, 0x84, 0x80};
    const Bytes idr{0x65, 0x88, 0x84};
    const Bytes sliceI{0x41, 0x88, 0x80}; // first macroblock 0, type 7
    const Bytes sliceP{0x41, 0x9A, 0x00}; // first macroblock 0, type 5
    const Bytes vps{0x40, 0x01};
    const Row rows[] = {
        {"MPEG-2 sequence and I", Coding::kMpeg2Video, true, Units({sequence, intra})},
        {"MPEG-1 likewise", Coding::kMpeg1Video, true, Units({sequence, {0xB8, 0, 0, 0, 0}, intra})},
        {"MPEG-2 I alone", Coding::kMpeg2Video, false, Units({intra})},
        {"MPEG-2 sequence and P", Coding::kMpeg2Video, false, Units({sequence, inter, sequence, intra})},
        {"MPEG-2 cut in the picture header", Coding::kMpeg2Video, false, Units({sequence, {0x00, 0x00}})},
        {"H.264 IDR", Coding::kH264, true, Units({aud, sps, idr})},
        {"H.264 recovery point", Coding::kH264, true, Units({aud, recovery, sliceP})},
        {"H.264 recovery point as second message", Coding::kH264, true, Units({longThenRecovery, sliceP})},
        {"H.264 other message", Coding::kH264, false, Units({aud, timing, sliceP})},
        {"H.264 parameters and I slice", Coding::kH264, true, Units({aud, sps, sliceI})},
        {"H.264 I slice alone", Coding::kH264, false, Units({aud, sliceI})},
        {"H.264 parameters and P slice", Coding::kH264, false, Units({aud, sps, sliceP, idr})},
        {"H.264 parameters alone", Coding::kH264, false, Units({aud, sps})},
        {"HEVC IDR (19)", Coding::kHevc, true, Units({vps, {0x26, 0x01, 0xAF}})},
        {"HEVC CRA (21)", Coding::kHevc, true, Units({{0x2A, 0x01, 0xAF}})},
        {"HEVC trailing (1)", Coding::kHevc, false, Units({vps, {0x02, 0x01, 0xD0}, {0x26, 0x01}})},
        {"audio", Coding::kAc3, true, {0x0B, 0x77}},
        {"unknown", Coding::kOther, false, Units({aud, sps, idr})},
        {"nothing", Coding::kH264, false, {}},
        {"start code at the very end", Coding::kMpeg2Video, false, {0, 0, 1}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(IsRandomAccessPoint(row.coding, row.bytes), row.start) << row.name;
    }
}

} // namespace
} // namespace vistrame
