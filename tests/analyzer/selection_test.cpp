#include <gtest/gtest.h>

#include "analyzer/player_commands.h"
#include "analyzer/selection.h"

namespace vistrame::test {
namespace {

ElementaryStream Of(Pid pid, Coding coding) {
    return {.pid = pid, .streamType = 0x06, .coding = coding, .language = {}};
}

TEST(Selection, StreamsAndCodingFieldsOfAProgramme) {
    struct Row {
        const char* what;
        std::vector<ElementaryStream> streams;
        std::optional<Pid> audio;
        std::optional<Selection> expected;
    };
    const Row rows[] = {
        {"MPEG-2 and MPEG audio",
         {Of(0x101, Coding::kMpeg2Video), Of(0x102, Coding::kMpegAudio)},
         {},
         Selection{1, 0x101, 0x102, 0, 0}},
        {"the first of each that is known",
         {Of(0x20, Coding::kOther), Of(0x21, Coding::kAacAdts), Of(0x22, Coding::kEac3),
          Of(0x23, Coding::kAc3), Of(0x24, Coding::kHevc), Of(0x25, Coding::kH264)},
         {},
         Selection{1, 0x24, 0x22, 2, 3}},
        {"another audio by its PID",
         {Of(0x30, Coding::kH264), Of(0x31, Coding::kAacLatm), Of(0x32, Coding::kAc3)},
         0x32,
         Selection{1, 0x30, 0x32, 1, 1}},
        {"an audio that is not there",
         {Of(0x30, Coding::kH264), Of(0x31, Coding::kAacLatm)},
         0x55,
         std::nullopt},
        {"video alone", {Of(0x40, Coding::kMpeg1Video)}, {}, Selection{1, 0x40, kNullPid, 0, 0}},
        {"radio", {Of(0x50, Coding::kAacLatm)}, {}, Selection{1, kNullPid, 0x50, 0, 2}},
        {"data", {Of(0x60, Coding::kOther)}, {}, std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        Programme programme;
        programme.number = 1;
        programme.streams = row.streams;
        const auto selection = SelectStreams(programme, row.audio);
        ASSERT_EQ(selection.has_value(), row.expected.has_value());
        if (selection) {
            EXPECT_EQ(selection->videoPid, row.expected->videoPid);
            EXPECT_EQ(selection->audioPid, row.expected->audioPid);
            EXPECT_EQ(selection->videoType, row.expected->videoType);
            EXPECT_EQ(selection->audioType, row.expected->audioType);
        }
    }
}

TEST(PlayerCommands, WhatThePlayerReads) {
    EXPECT_EQ(FormatLaunchLine({.parentWindow = 0x1A2B,
                                .pipeId = 0xC51,
                                .clockSource = 3,
                                .log = true,
                                .videoType = 2,
                                .audioType = 1}),
              "00001A2B 00000000 00000C51 0 3 1 2 1");
    EXPECT_EQ(FormatPipeName(0x1A2B), "\\\\.\\pipe\\QVRA00001A2B");
    EXPECT_EQ(PackPids(0x101, 0x102), 0x01010102U);
    EXPECT_EQ(PackPids(kNullPid, kNullPid), 0x1FFF1FFFU);
}

} // namespace
} // namespace vistrame::test
