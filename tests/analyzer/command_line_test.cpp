// The command line and the script language: what is understood, and how the rest is told.
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/options.h"
#include "analyzer/script.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

ParsedOptions Parse(const std::string& line) {
    std::istringstream words(line);
    return ParseOptions({std::istream_iterator<std::string>(words), {}});
}

TEST(Options, AreUnderstoodInAnyOrder) {
    const ParsedOptions parsed = Parse(
        "--script s.txt a.ts --set UseVMR9=1 --set ErrorLogDir=C:\\Logs\\ --clock-source 3 --no-loop "
        "--play 513 --report r.txt --log l.txt --player p.exe --seed 0x10 --stay-open --player-log");
    ASSERT_EQ(parsed.error, "");
    const Options& options = parsed.options;
    EXPECT_EQ(options.script + options.stream + options.report + options.log + options.player,
              "s.txta.tsr.txtl.txtp.exe");
    EXPECT_EQ(options.play, 513);
    EXPECT_EQ(options.clockSource, 3);
    EXPECT_EQ(options.seed, 16U);
    EXPECT_TRUE(!options.loop && options.stayOpen && options.playerLog && !options.WindowMode());
    ASSERT_EQ(options.settings.size(), 2U);
    EXPECT_EQ(options.settings[0].row.name, "UseVMR9");
    EXPECT_EQ(options.settings[0].number, 1U);
    EXPECT_EQ(options.settings[1].text, "C:\\Logs\\");
}

TEST(Options, WrongOnesAreNamed) {
    const std::pair<const char*, const char*> rows[] = {
        {"--fly a.ts", "--fly"},
        {"a.ts b.ts", "b.ts"},
        {"a.ts --play", "--play needs N"},
        {"a.ts --play 65536", "65536"},
        {"a.ts --play 1x", "1x"},
        {"a.ts --set UseVMR9", "NAME=VALUE"},
        {"a.ts --set UseVMR9=yes", "UseVMR9=yes"},
        {"a.ts --set NoSuchThing=1", "NoSuchThing"},
        {"--list", "no stream"},
        {"--script s.txt", "no stream"},
    };
    for (const auto& [arguments, reason] : rows) {
        EXPECT_THAT(Parse(arguments).error, HasSubstr(reason));
    }
    EXPECT_FALSE(Parse("--fly --list").options.WindowMode()) << "a script waits for no box";
    EXPECT_TRUE(Parse("--fly").options.WindowMode());
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
        "6 resume\n6 resume backlog\n6 resume skip\n7 seek 12.5\n"
        "7 seek 0 announced\n8 lose 0.5%\n8 damage 3\n8 wait picture\n"
        "9 wait picture 3\n9 wait exit 0xFFFFFFFF 40\n6 stall\n8 close\n"
        "8 size 640 480\n8 set AudioUnmuteMsec 500\n9 motion begin\n"
        "9 motion end five\n9 mark here\n10 quit\n10 end");
    ASSERT_EQ(script.error, "");
    ASSERT_EQ(script.lines.size(), 28U);
    EXPECT_EQ(script.lines[0].number, 2);
    const std::pair<double, double> times[] = {{0, 0}, {0, 1.5}, {5, 0.5}, {5, 0}};
    for (std::size_t i = 0; i < std::size(times); ++i) {
        EXPECT_EQ(std::pair(script.lines[i].seconds, script.lines[i].after), times[i]) << i;
    }
    EXPECT_FALSE(At<PlayAction>(script, 0).audioPid);
    EXPECT_EQ(At<PlayAction>(script, 1).audioPid, 0x1FF);
    const std::pair<std::uint32_t, std::uint32_t> commands[] = {{6, 0xFFFFFFFF}, {3, 0},   {4, 0}, {5, 0},
                                                                {6, 0},          {8, 250}, {8, 0}};
    for (std::size_t i = 0; i < std::size(commands); ++i) {
        const auto& command = At<CommandAction>(script, 2 + i);
        EXPECT_EQ(std::pair(command.code, command.argument), commands[i]);
    }
    EXPECT_EQ(At<ResumeAction>(script, 9), ResumeAction::kLate);
    EXPECT_EQ(At<ResumeAction>(script, 10), ResumeAction::kBacklog);
    EXPECT_EQ(At<ResumeAction>(script, 11), ResumeAction::kSkip);
    EXPECT_FALSE(At<SeekAction>(script, 12).announced);
    EXPECT_TRUE(At<SeekAction>(script, 13).announced);
    EXPECT_DOUBLE_EQ(At<LoseAction>(script, 14).share, 0.005);
    EXPECT_DOUBLE_EQ(At<DamageAction>(script, 15).share, 0.03);
    EXPECT_DOUBLE_EQ(At<WaitPictureAction>(script, 16).seconds, 20);
    EXPECT_DOUBLE_EQ(At<WaitPictureAction>(script, 17).seconds, 3);
    EXPECT_EQ(At<WaitExitAction>(script, 18).code, 0xFFFFFFFFU);
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
        {"0 command 6 0x100000000", "command takes CODE ARGUMENT"},
        {"0 command 6 -1", "command takes"},
        {"0 resume later", "resume takes"},
        {"0 lose 101%", "lose takes PERCENT"},
        {"0 size 0 480", "size takes"},
        {"0 set UseVMR9 on", "set takes"},
        {"0 wait exit 0 soon", "wait takes"},
        {"0 motion end", "motion takes"},
        {"0 mark two words", "mark takes NAME"},
    };
    for (const auto& [text, reason] : rows) {
        const Script script = ParseScript(text);
        EXPECT_THAT(script.error, HasSubstr(reason)) << text;
        EXPECT_TRUE(script.lines.empty()) << text;
    }
}

} // namespace
} // namespace vistrame::test
