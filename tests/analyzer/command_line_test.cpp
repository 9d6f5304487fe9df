// The command line and the script language: what is understood, and how the rest is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/options.h"
#include "analyzer/script.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

TEST(Options, AreUnderstoodInAnyOrder) {
    const ParsedOptions parsed = ParseOptions({"--script",
                                               "s.txt",
                                               "a stream.ts",
                                               "--set",
                                               "UseVMR9=1",
                                               "--set",
                                               "ErrorLogDir=C:\\Logs\\",
                                               "--clock-source",
                                               "3",
                                               "--no-loop",
                                               "--play",
                                               "513",
                                               "--report",
                                               "r.txt",
                                               "--log",
                                               "l.txt",
                                               "--player",
                                               "p.exe",
                                               "--seed",
                                               "0x10",
                                               "--stay-open",
                                               "--player-log"});
    ASSERT_EQ(parsed.error, "");
    const Options& options = parsed.options;
    EXPECT_EQ(options.script, "s.txt");
    EXPECT_EQ(options.stream, "a stream.ts");
    EXPECT_EQ(options.play, 513);
    EXPECT_EQ(options.report, "r.txt");
    EXPECT_EQ(options.log, "l.txt");
    EXPECT_EQ(options.player, "p.exe");
    EXPECT_EQ(options.clockSource, 3);
    EXPECT_EQ(options.seed, 16U);
    EXPECT_FALSE(options.loop);
    EXPECT_TRUE(options.stayOpen && options.playerLog);
    EXPECT_FALSE(options.WindowMode());
    ASSERT_EQ(options.settings.size(), 2U);
    EXPECT_EQ(options.settings[0].row.name, "UseVMR9");
    EXPECT_EQ(options.settings[0].number, 1U);
    EXPECT_EQ(options.settings[1].text, "C:\\Logs\\");
    EXPECT_TRUE(ParseOptions({}).options.WindowMode());
}

TEST(Options, WrongOnesAreNamed) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"--fly", "a.ts"}, "--fly"},
        {{"a.ts", "b.ts"}, "b.ts"},
        {{"a.ts", "--play"}, "--play needs N"},
        {{"a.ts", "--play", "65536"}, "65536"},
        {{"a.ts", "--play", "1x"}, "1x"},
        {{"a.ts", "--set", "UseVMR9"}, "NAME=VALUE"},
        {{"a.ts", "--set", "UseVMR9=yes"}, "UseVMR9=yes"},
        {{"a.ts", "--set", "NoSuchThing=1"}, "NoSuchThing"},
        {{"--list"}, "no stream"},
        {{"--script", "s.txt"}, "no stream"},
    };
    for (const auto& [arguments, reason] : rows) {
        SCOPED_TRACE(reason);
        EXPECT_THAT(ParseOptions(arguments).error, HasSubstr(reason));
    }
    EXPECT_FALSE(ParseOptions({"--fly", "--list"}).options.WindowMode()) << "a script waits for no box";
    EXPECT_TRUE(ParseOptions({"--fly"}).options.WindowMode());
}

template <typename Kind>
const Kind& At(const Script& script, std::size_t line) {
    return std::get<Kind>(script.lines.at(line).action);
}

TEST(Script, EveryCommandIsRead) {
    const Script script = ParseScript(
        "# a comment\r\n"
        "0.0 play 1 # and another\r\n"
        "\n"
        "+1.5\tplay 2 audio 0x1ff\n"
        "5.0+.5 command 0x6 0xFFFFFFFF\n"
        "5 run\n5 stop\n5 pause\n5 discontinuity\n5 unmute 250\n5 unmute\n"
        "6 stall\n6 resume\n6 resume backlog\n6 resume skip\n"
        "7 seek 12.5\n7 seek 0 announced\n"
        "8 lose 0.5%\n8 damage 3\n8 close\n8 size 640 480\n8 set AudioUnmuteMsec 500\n"
        "9 wait picture\n9 wait picture 3\n9 wait exit 0xFFFFFFFF 40\n"
        "9 motion begin\n9 motion end five\n9 mark here\n10 quit\n10 end");
    ASSERT_EQ(script.error, "");
    ASSERT_EQ(script.lines.size(), 28U);
    EXPECT_EQ(script.lines[0].number, 2);
    const std::pair<double, double> times[] = {{0, 0}, {0, 1.5}, {5, 0.5}, {5, 0}};
    for (std::size_t i = 0; i < std::size(times); ++i) {
        EXPECT_DOUBLE_EQ(script.lines[i].seconds, times[i].first) << i;
        EXPECT_DOUBLE_EQ(script.lines[i].after, times[i].second) << i;
    }
    EXPECT_EQ(At<PlayAction>(script, 0).programme, 1);
    EXPECT_FALSE(At<PlayAction>(script, 0).audioPid);
    EXPECT_EQ(At<PlayAction>(script, 1).audioPid, 0x1FF);
    EXPECT_EQ(At<CommandAction>(script, 2).code, 6U);
    EXPECT_EQ(At<CommandAction>(script, 2).argument, 0xFFFFFFFFU);
    const std::pair<std::uint32_t, std::uint32_t> named[] = {{3, 0}, {4, 0},   {5, 0},
                                                             {6, 0}, {8, 250}, {8, 0}};
    for (std::size_t i = 0; i < std::size(named); ++i) {
        EXPECT_EQ(At<CommandAction>(script, 3 + i).code, named[i].first);
        EXPECT_EQ(At<CommandAction>(script, 3 + i).argument, named[i].second);
    }
    (void)At<StallAction>(script, 9); // throws when it is another
    EXPECT_EQ(At<ResumeAction>(script, 10), ResumeAction::kLate);
    EXPECT_EQ(At<ResumeAction>(script, 11), ResumeAction::kBacklog);
    EXPECT_EQ(At<ResumeAction>(script, 12), ResumeAction::kSkip);
    EXPECT_DOUBLE_EQ(At<SeekAction>(script, 13).seconds, 12.5);
    EXPECT_FALSE(At<SeekAction>(script, 13).announced);
    EXPECT_TRUE(At<SeekAction>(script, 14).announced);
    EXPECT_DOUBLE_EQ(At<LoseAction>(script, 15).share, 0.005);
    EXPECT_DOUBLE_EQ(At<DamageAction>(script, 16).share, 0.03);
    (void)At<CloseAction>(script, 17);
    EXPECT_EQ(At<SizeAction>(script, 18).height, 480);
    EXPECT_EQ(At<SettingChange>(script, 19).number, 500U);
    EXPECT_DOUBLE_EQ(At<WaitPictureAction>(script, 20).seconds, 20);
    EXPECT_DOUBLE_EQ(At<WaitPictureAction>(script, 21).seconds, 3);
    EXPECT_EQ(At<WaitExitAction>(script, 22).code, 0xFFFFFFFFU);
    EXPECT_DOUBLE_EQ(At<WaitExitAction>(script, 22).seconds, 40);
    EXPECT_EQ(At<EndMotionAction>(script, 24).name, "five");
    EXPECT_EQ(At<MarkAction>(script, 25).name, "here");
    (void)At<QuitAction>(script, 26);
    (void)At<EndAction>(script, 27);
}

TEST(Script, TheFirstWrongLineIsToldByItsNumber) {
    const std::pair<const char*, const char*> rows[] = {
        {"soon play 1", "line 1: \"soon\" is no time"},
        {"-1 play 1", "is no time"},
        {"nan play 1", "is no time"},
        {"+ play 1", "is no time"},
        {"5+1+1 play 1", "is no time"},
        {"1e3 play 1", "is no time"},
        {"\n\n2.0", "line 3: a command is missing"},
        {"0 play 1\n1 fly\n2 swim", "line 2: \"fly\" is no command"},
        {"0 play", "play takes N [audio PID]"},
        {"0 play 70000", "play takes"},
        {"0 play 1 audio", "play takes"},
        {"0 play 1 audio 0x2000", "play takes"},
        {"0 stop now", "stop takes nothing"},
        {"0 command 6", "command takes CODE ARGUMENT"},
        {"0 command 6 0x100000000", "command takes"},
        {"0 command 6 -1", "command takes"},
        {"0 resume later", "resume takes"},
        {"0 lose 101%", "lose takes PERCENT"},
        {"0 lose half", "lose takes"},
        {"0 size 0 480", "size takes"},
        {"0 set UseVMR9 on", "set takes"},
        {"0 wait", "wait takes"},
        {"0 wait exit", "wait takes"},
        {"0 wait exit 0 soon", "wait takes"},
        {"0 motion end", "motion takes"},
        {"0 mark two words", "mark takes NAME"},
    };
    for (const auto& [text, reason] : rows) {
        SCOPED_TRACE(text);
        const Script script = ParseScript(text);
        EXPECT_THAT(script.error, HasSubstr(reason));
        EXPECT_TRUE(script.lines.empty());
    }
}

} // namespace
} // namespace vistrame::test
