// What goes wrong is reported in one line and by the exit code; nothing waits for ever.
#include <cstdio>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract/commands.h"
#include "tests/end_to_end/analyzer_run.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

constexpr DWORD kEndMsec = 30'000;
constexpr char kStream[] = VISTRAME_DEMO_STREAM;

TEST(Failures, BeforeThePlayerPlays) {
    const struct {
        std::vector<std::string> arguments;
        std::string script;
        DWORD exitCode;
        const char* reason;
    } rows[] = {
        {{"--list", R"(C:\nowhere\no.ts)"}, "", 2, R"(C:\nowhere\no.ts: no such file)"},
        {{"--list", R"(C:\windows\system32\kernel32.dll)"}, "", 2, "no transport stream"},
        {{"--list", "--dance", kStream}, "", 1, "--dance"},
        {{kStream}, "0 play 1\n1 dance\n", 1, "line 2: \"dance\""},
        {{"--script", R"(C:\nowhere\a.script)", kStream}, "", 1, "no such script"},
        {{kStream}, "0 play 9\n", 3, "programme 9 does not exist"},
        {{"--player", R"(C:\windows\system32\kernel32.dll)", kStream}, "0 play 1\n", 4, "cannot be started"},
        {{"--player", R"(C:\windows\system32\hostname.exe)", kStream},
         "0 play 1\n",
         4,
         "ended with exit code"},
        {{"--list", "--log", R"(C:\nowhere\log)", kStream}, "", 7, R"(C:\nowhere\log)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        AnalyzerRun run(row.arguments, row.script);
        EXPECT_EQ(run.WaitForExit(kEndMsec), row.exitCode);
        const std::string error = run.Written("error");
        EXPECT_THAT(error, HasSubstr(row.reason));
        EXPECT_EQ(std::ranges::count(error, '\n'), 1) << error;
        EXPECT_EQ(run.Written("output"), "");
    }
}

TEST(Failures, TheTableIsPrintedWhereItIsAskedFor) {
    AnalyzerRun run({"--list", kStream});
    EXPECT_EQ(run.WaitForExit(kEndMsec), 0U);
    EXPECT_THAT(run.Written("output"), HasSubstr("programme 2 \"Vistrame Blue\" pmt 0x1001 pcr 0x0201\n"
                                                 "  video 0x0201 MPEG-2 video 720x576 4:3\n"
                                                 "  audio 0x0202 MPEG audio eng\n"));
}

// The player's own end, expected or not, and what does not come.
TEST(Failures, WhileThePlayerPlays) {
    const RegisteredFilters filters;
    const struct {
        const char* script;
        DWORD exitCode;
        const char* reason;
        const char* report;
    } rows[] = {
        {"0 play 1\n+0 wait picture 25\n+0 close\n+0 wait exit 0xFFFFFFFF 10\n", 0, "",
         "player-exit 0xFFFFFFFF\nexit 0\n"},
        {"0 play 1\n+0 close\n+5 mark late\n", 5, "the player ended by itself with exit code 0xFFFFFFFF",
         "player-exit 0xFFFFFFFF\nexit 5\n"},
        {"0 stall\n0 play 2\n+0 wait picture 1\n", 6, "no picture within 1.0 s",
         "player-exit 0x00000000\nexit 6\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        AnalyzerRun run({"--set", "UseVMR9=1", kStream}, row.script);
        EXPECT_EQ(run.WaitForExit(kEndMsec), row.exitCode) << run.Written("log");
        EXPECT_THAT(run.Written("error"), HasSubstr(row.reason));
        EXPECT_THAT(run.Written("report"), HasSubstr(row.report));
    }
}

// Whatever comes through the pipe, two seconds of a good stream later all is well; and no command harms a
// player that plays.
TEST(Failures, AreSurvivedByAPlayerThatPlays) {
    const RegisteredFilters filters;
    std::mt19937 random(1);
    std::string commands;
    for (int i = 0; i < 3000; ++i) {
        const auto code = static_cast<CommandCode>(i % 2 == 0 ? random() : random() % 16);
        const bool rare = code == CommandCode::SetPid || code == CommandCode::UnmuteAudio; // take their time
        if (code != CommandCode::Quit && (!rare || i % 16 == 1)) {
            commands += "+0 command " + std::to_string(static_cast<std::uint32_t>(code)) + " " +
                        std::to_string(random()) + "\n";
        }
    }
    const std::string spoilt =
        "+0 spoil truncated\n+0.6 spoil flipped\n+0.6 spoil shuffled\n+0.6 spoil sized\n"
        "+0.6 spoil random\n+0.6 spoil nothing\n";
    for (const std::string& what : {spoilt, commands + "+0 play 2\n+0 run\n"}) {
        AnalyzerRun run(
            {"--set", "UseVMR9=0", "--set", "KorvixCodec=0", kStream},
            "0 play 1\n+0 wait picture 20\n" + what + "+2 motion begin\n+1 motion end after\n+0 quit\n");
        EXPECT_EQ(run.WaitForExit(3 * kEndMsec), 0U) << run.Written("error");
        const std::string log = run.Written("log");
        const std::size_t motion = log.find("motion after longest-msec ");
        ASSERT_NE(motion, std::string::npos);
        int longest = 0;
        int changes = 0;
        (void)std::sscanf(log.c_str() + motion, "motion after longest-msec %d changes %d", &longest,
                          &changes);
        EXPECT_LT(longest, 500);
        EXPECT_GT(changes, 10);
        EXPECT_THAT(log, testing::Not(HasSubstr("player box")));
    }
}

} // namespace
} // namespace vistrame::test
