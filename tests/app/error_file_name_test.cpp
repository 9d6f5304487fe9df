#include "app/error_file_name.h"

#include <array>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace vistrame {
namespace {

std::optional<std::string> Name(const std::string& directory, const std::tm& time) {
    std::array<char, kErrorFileNameSize> name{};
    if (!FormatErrorFileName(name, directory.c_str(), time)) {
        return std::nullopt;
    }
    return name.data();
}

TEST(ErrorFileName, IsDirectoryTimeAndASuffixWithTwoBlanksBetween) {
    std::tm november{};
    november.tm_year = 126;
    november.tm_mon = 10;
    november.tm_mday = 15;
    november.tm_wday = 0;
    november.tm_hour = 2;
    november.tm_min = 44;
    november.tm_sec = 7;
    std::tm january{};
    january.tm_year = 99;
    january.tm_mday = 1;
    january.tm_wday = 5;

    const std::string kTail = "Sun Nov 15 02.44.07 2026  VistrameError.txt";
    const std::string longest(259 - kTail.size(), 'd');
    const struct {
        std::string directory;
        std::tm time;
        std::optional<std::string> name;
    } rows[] = {
        {"C:\\ErrorLogs\\", november, "C:\\ErrorLogs\\" + kTail},
        {"D:\\Logs", november, "D:\\Logs" + kTail},
        {"C:\\a:b\nc\\", january, "C:\\a.b c\\Fri Jan 01 00.00.00 1999  VistrameError.txt"},
        {"", november, kTail},
        {longest, november, longest + kTail},
        {longest + 'd', november, std::nullopt},
        {std::string(5000, ':'), november, std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.directory);
        EXPECT_EQ(Name(row.directory, row.time), row.name);
    }
}

} // namespace
} // namespace vistrame
