// Where decoding can begin, per coding: what makes it a start, and what looks like one.
#include "transport/access_unit.h"

#include <gtest/gtest.h>

#include "tests/transport/ts_builder.h"

namespace vistrame {
namespace {

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
    const Bytes inter{0x00, 0x00, 0x17, 0xFF}; // coding type 2
    const Bytes sps{0x67, 0x64, 0x00, 0x28};
    const Bytes recovery{0x06, 0x06, 0x01, 0x84, 0x80};
    const Bytes timing{0x06, 0x01, 0x03, 0x06, 0x06, 0x06, 0x80}; // looks like a recovery point inside
    const Bytes longThenRecovery{0x06, 0x05, 0x02, 0x11, 0x22, 0x06, 0x01, 0x84, 0x80};
    const Bytes idr{0x65, 0x88, 0x84};
    const Bytes sliceI{0x41, 0x88, 0x80}; // first macroblock 0, type 7
    const Bytes sliceP{0x41, 0x9A, 0x00}; // first macroblock 0, type 5
    const Row rows[] = {
        {"MPEG-2 sequence and I", kMpeg2Video, true, {sequence, {0xB8, 0, 0, 0, 0}, intra}},
        {"MPEG-2 sequence and P", kMpeg2Video, false, {sequence, inter, sequence, intra}},
        {"MPEG-2 cut in the picture header", kMpeg2Video, false, {sequence, {0x00, 0x00}}},
        {"H.264 IDR", kH264, true, {sps, idr}},
        {"H.264 recovery point", kH264, true, {recovery, sliceP}},
        {"H.264 recovery point as second message", kH264, true, {longThenRecovery, sliceP}},
        {"H.264 other message", kH264, false, {timing, sliceP}},
        {"H.264 parameters and I slice", kH264, true, {sps, sliceI}},
        {"H.264 I slice alone", kH264, false, {sliceI}},
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

} // namespace
} // namespace vistrame
