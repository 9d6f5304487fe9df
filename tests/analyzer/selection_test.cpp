#include <gtest/gtest.h>

#include "analyzer/stream/selection.h"
#include "analyzer/stream/stream_file.h"
#include "tests/analyzer/temporary_stream.h"

namespace vistrame::test {
namespace {

ElementaryStream Of(Pid pid, Coding coding) {
    return {.pid = pid, .streamType = 0x06, .coding = coding, .language = {}};
}

TEST(Selection, StreamsAndCodingFieldsOfAProgramme) {
    using enum Coding;
    struct Row {
        const char* what;
        std::vector<ElementaryStream> streams;
        std::optional<Pid> audio;
        std::vector<int> expected; // PIDs and types of video and audio; empty: nothing to play
    };
    const Row rows[] = {
        {"MPEG-2 and MPEG audio", {Of(0x101, kMpeg2Video), Of(0x102, kMpegAudio)}, {}, {0x101, 0x102, 0, 0}},
        {"the first of each that is known",
         {Of(1, kOther), Of(3, kEac3), Of(4, kAc3), Of(5, kHevc), Of(6, kH264)},
         {},
         {5, 3, 2, 3}},
        {"another audio by its PID", {Of(3, kH264), Of(4, kAacLatm), Of(5, kAc3)}, 5, {3, 5, 1, 1}},
        {"an audio that is not there", {Of(3, kH264), Of(4, kAacLatm)}, 5, {}},
        {"video alone", {Of(4, kMpeg1Video)}, {}, {4, kNullPid, 0, 0}},
        {"radio", {Of(5, kAacLatm)}, {}, {kNullPid, 5, 0, 2}},
        {"AAC in the other frame", {Of(5, kAacAdts)}, {}, {kNullPid, 5, 0, 2}},
        {"data", {Of(6, kOther)}, {}, {}},
    };
    Programme several;
    several.streams = {Of(2, kMpegAudio), Of(3, kAc3), Of(4, kMpegAudio)};
    several.streams[0].audioDescription = true;
    several.streams[0].language = several.streams[2].language = "deu";
    EXPECT_EQ(SelectStreams(several, {}, "")->audioPid, 3) << "no audio description unasked";
    EXPECT_EQ(SelectStreams(several, {}, "deu")->audioPid, 4);
    several.streams.pop_back();
    EXPECT_EQ(SelectStreams(several, {}, "deu")->audioPid, 2);
    for (const Row& row : rows) {
        Programme programme;
        programme.streams = row.streams;
        std::vector<int> selected;
        if (const auto selection = SelectStreams(programme, row.audio)) {
            selected = {selection->videoPid, selection->audioPid, selection->videoType, selection->audioType};
        }
        EXPECT_EQ(selected, row.expected) << row.what;
    }
}

// Whoever looks for something to play finds it in the second and third field.
TEST(Selection, FieldsOfAStreamsProgrammes) {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}, {7, 0x107}, {2064, 0x110}, {9000, 0x120}});
    builder.AddPmt(0x100, 1, kNullPid, {{0x101, 0x05, {}}}); // data
    builder.AddPmt(0x107, 7, 0x171, {{0x171, 0x03, {}}});    // radio; 9000 has no map
    builder.AddPmt(0x110, 2064, 0x201, {{0x201, 0x1B, {}}, {0x202, 0x03, {}}});
    builder.AddSdt({{7, "Radio\nSieben"}, {2064, "Das Erste"}});
    const TemporaryStream written(Render(builder.packets));
    StreamFile file;
    ASSERT_TRUE(file.Open(written.Path()).Ok());
    EXPECT_EQ(FormatProgrammeFields(file),
              "1\t-\t-\t\n"
              "7\t-\t0x0171\tRadioSieben\n"
              "2064\t0x0201\t0x0202\tDas Erste\n"
              "9000\t-\t-\t\n");
}

} // namespace
} // namespace vistrame::test
