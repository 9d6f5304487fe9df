// The command line and the script language: how what is not understood is reported. What is understood the
// runs of the built programs use.
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/session/options.h"
#include "analyzer/session/script.h"

namespace vistrame::test {
namespace {

using testing::HasSubstr;

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
        {"a.ts --clock-ppm fast", "fast"},
        {"--list", "no stream"},
    };
    for (const auto& [arguments, reason] : rows) {
        std::istringstream words(arguments);
        EXPECT_THAT(ParseOptions({std::istream_iterator<std::string>(words), {}}).error, HasSubstr(reason));
    }
}

TEST(Script, TheFirstWrongLineIsToldByItsNumber) {
    const std::pair<const char*, const char*> rows[] = {
        {"soon play 1", "line 1: \"soon\" is no time"},
        {"-1 play 1", "is no time"},
        {"5+1+1 play 1", "is no time"},
        {"# a comment\r\n\n2.0", "line 3: a command is missing"},
        {"+.5 play 1 audio 0x1ff # one\n1 fly\n2 swim", "line 2: \"fly\" is no command"},
        {"0 play 70000", "play takes N [audio PID]"},
        {"0 play 1 audio 0x2000", "play takes"},
        {"0 stop now", "stop takes nothing"},
        {"0 command 6 0x100000000", "command takes CODE ARGUMENT"},
        {"0 resume later", "resume takes"},
        {"0 lose 101%", "lose takes PERCENT"},
        {"0 size 0 480", "size takes"},
        {"0 wait exit 0 soon", "wait takes"},
    };
    for (const auto& [text, reason] : rows) {
        EXPECT_THAT(ParseScript(text).error, HasSubstr(reason)) << text;
    }
}

} // namespace
} // namespace vistrame::test
