#include "player/app/error_file_name.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace vistrame {
namespace {

TEST(ErrorFileName, IsDirectoryTimeAndASuffixWithTwoBlanksBetween) {
    std::tm time{};
    time.tm_year = 126;
    time.tm_mon = 10;
    time.tm_mday = 1;
    time.tm_hour = 2;
    const std::string tail = "Sun Nov 01 02.00.00 2026  VistrameError.txt";
    const std::string longest(259 - tail.size(), 'd');
    const std::pair<std::string, std::string> rows[] = {
        // directory, name; empty: does not fit
        {"C:\\ErrorLogs\\", "C:\\ErrorLogs\\" + tail},
        {"C:\\a:b\nc\\", "C:\\a.b c\\" + tail},
        {longest, longest + tail},
        {longest + 'd', ""},
    };
    for (const auto& [directory, expected] : rows) {
        std::array<char, kErrorFileNameSize> name{};
        const bool fits = FormatErrorFileName(name, directory.c_str(), time);
        EXPECT_EQ(fits ? name.data() : "", expected);
    }
}

} // namespace
} // namespace vistrame
