#include "app/error_file_name.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace vistrame {
namespace {

TEST(ErrorFileName, IsDirectoryTimeAndASuffixWithTwoBlanksBetween) {
    std::tm november{}, january{};
    november.tm_year = 126;
    november.tm_mon = 10;
    november.tm_mday = 15;
    november.tm_hour = 2;
    november.tm_min = 44;
    november.tm_sec = 7;
    january.tm_year = 99;
    january.tm_mday = 1;
    january.tm_wday = 5;
    const std::string tail = "Sun Nov 15 02.44.07 2026  VistrameError.txt";
    const std::string longest(259 - tail.size(), 'd');
    const struct {
        std::string directory;
        std::tm time;
        std::string name; // empty: does not fit
    } rows[] = {
        {"C:\\ErrorLogs\\", november, "C:\\ErrorLogs\\" + tail},
        {"C:\\a:b\nc\\", january, "C:\\a.b c\\Fri Jan 01 00.00.00 1999  VistrameError.txt"},
        {"", november, tail},
        {longest, november, longest + tail},
        {longest + 'd', november, ""},
        {std::string(5000, ':'), november, ""},
    };
    for (const auto& row : rows) {
        std::array<char, kErrorFileNameSize> name{};
        const bool fits = FormatErrorFileName(name, row.directory.c_str(), row.time);
        EXPECT_EQ(fits, !row.name.empty()) << row.directory;
        EXPECT_EQ(fits ? name.data() : "", row.name);
    }
}

} // namespace
} // namespace vistrame
