#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/report.h"
#include "analyzer/stream_file.h"
#include "tests/analyzer/temporary_stream.h"
#include "transport/clock.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

TEST(StreamFile, TellsWhyAFileIsNoUse) {
    TsBuilder tableless;
    for (int i = 0; i < 100; ++i) {
        (void)tableless.AddPacket(0x200, false, Bytes(184, 1));
    }
    const std::pair<Bytes, const char*> rows[] = {
        {{}, "no transport stream"},
        {Bytes(300'000, 0x20), "no transport stream"},
        {Render(tableless.packets), "no programme"},
    };
    for (const auto& [content, reason] : rows) {
        const TemporaryStream written(content);
        StreamFile file;
        const Outcome outcome = file.Open(written.Path());
        EXPECT_EQ(outcome.code, ExitCode::kStream);
        EXPECT_THAT(outcome.reason, HasSubstr(reason));
        EXPECT_THAT(outcome.reason, HasSubstr(written.Path()));
    }
    StreamFile file;
    EXPECT_THAT(file.Open("/nowhere/no.ts").reason, HasSubstr("no such file"));
}

TEST(StreamFile, ProgrammesAndPaceOfAMultiplex) {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}, {2, 0x110}, {3, 0x120}});
    builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x02, {}}, {0x102, 0x03, {}}});
    builder.AddPmt(0x110, 2, 0x111, {{0x111, 0x1B, {}}, {0x112, 0x11, {}}});
    builder.AddSdt({{1, "Vistrame \"One\""}, {2, "Zwei"}});
    // Only the second programme's clock runs: 500 packets each second.
    for (int i = 0; i < 200; ++i) {
        builder.AddPcr(0x111, i * kPcrPerSecond / 50);
        for (int j = 1; j < 10; ++j) {
            (void)builder.AddPacket(0x101, false, Bytes(100, 0));
        }
    }
    const TemporaryStream written(Render(builder.packets));
    StreamFile file;
    ASSERT_TRUE(file.Open(written.Path()).Ok());
    EXPECT_EQ(file.ClockPid(), 0x111);
    EXPECT_NEAR(file.PacketsPerSecond(), 500, 1);
    EXPECT_EQ(FormatProgrammeTable(file),
              "3 programmes, 4.0 s, 0.75 Mbit/s\n"
              "programme 1 \"Vistrame \"One\"\" pmt 0x0100 pcr 0x0101\n"
              "  video 0x0101 MPEG-2 video\n"
              "  audio 0x0102 MPEG audio\n"
              "programme 2 \"Zwei\" pmt 0x0110 pcr 0x0111\n"
              "  video 0x0111 H.264\n"
              "  audio 0x0112 AAC LATM\n"
              "programme 3 \"\" pmt 0x0120 without a map\n");
    EXPECT_EQ(file.Find(2)->name, "Zwei");
    EXPECT_EQ(file.Find(4), nullptr);
}

} // namespace
} // namespace vistrame::test
