// Command lines and what the eight launch fields become. A field that the scan does not reach keeps its
// value, so every case starts from values that no case writes.
#include "player/app/launch_fields.h"

#include <cstdio>
#include <random>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace vistrame {
namespace {

struct Fields {
    std::uint32_t parent, placeholder, pipe;
    std::int32_t reserved, clock, log, video, audio;

    bool operator==(const Fields&) const = default;
};

constexpr Fields kUnset = {0xAAAA, 0, 0xBBBB, 0, 71, 0, 72, 73}; // fields 2, 4 and 6 start at 0

Fields Scan(const char* commandLine) {
    ParentWindow = kUnset.parent;
    PipeId = kUnset.pipe;
    ClockSource = kUnset.clock;
    VideoType = kUnset.video;
    AudioType = kUnset.audio;
    const StartupFields rest = ScanLaunchFields(commandLine);
    return {ParentWindow, rest.placeholder,  PipeId,    rest.reserved,
            ClockSource,  rest.openDebugLog, VideoType, AudioType};
}

TEST(LaunchFields, TakeTheirFormAndEndAtWhatIsNoNumber) {
    const auto& u = kUnset;
    const struct {
        const char* commandLine;
        Fields fields;
    } rows[] = {
        {"000A01B2 00000000 00001A2B 0 1 1 1 2", {0xA01B2, 0, 0x1A2B, 0, 1, 1, 1, 2}},
        {"\t 7 8\n9  1 2\v3 -4 +5 trailing", {7, 8, 9, 1, 2, 3, -4, 5}},
        {"", u},
        {"1 2 3", {1, 2, 3, 0, u.clock, 0, u.video, u.audio}},
        // Eight characters a hexadecimal field, sign and prefix included; what is left is the next field's.
        {"123456789 3 4", {0x12345678, 9, 3, 4, u.clock, 0, u.video, u.audio}},
        {"0x1234567 3", {0x123456, 7, 3, 0, u.clock, 0, u.video, u.audio}},
        {"-12345678 3", {0U - 0x1234567U, 8, 3, 0, u.clock, 0, u.video, u.audio}},
        {"0X1f -1 +ab", {0x1F, 0xFFFFFFFF, 0xAB, 0, u.clock, 0, u.video, u.audio}},
        {"0x 2 3", u}, // a prefix alone is no number
        // A decimal field knows no prefix.
        {"0 0 0 0x10 5", {0, 0, 0, 0, u.clock, 0, u.video, u.audio}},
        // Out of range wraps at 32 bits and never stops the scan.
        {"0 0 0 2147483648 4294967297 0 -2147483649 99999999999999999999",
         {0, 0, 0, INT32_MIN, 1, 0, INT32_MAX, 0x630FFFFF}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Scan(row.commandLine), row.fields) << row.commandLine;
    }
}

TEST(LaunchFields, BeginBehindTheProgramsName) {
    const std::pair<const char*, const char*> rows[] = {
        {"vistrame.exe 1 2", "1 2"},
        {"C:\\M\xFCller\\vistrame.exe 1 2", "1 2"}, // a letter above 127, in the system's code page
        {"C:\\\xE3\x82\xA0\x81\x40\\vistrame.exe \t 1 2", "1 2"}, // double-byte letters
        {"\"C:\\Program Files\\M\xFCller\\vistrame.exe\"  1 2", "1 2"},
        {"\"C:\\a b\"c.exe 1", "1"},
        {"\"C:\\never closed 1 2", ""},
        {"vistrame.exe", ""},
        {"vistrame.exe  ", ""},
        {"", ""},
        {" 1 2", "1 2"}, // a program without a name
    };
    for (const auto& [commandLine, arguments] : rows) {
        EXPECT_STREQ(ArgumentsBehindProgram(commandLine), arguments) << commandLine;
    }
}

// The C library's scan agrees on whatever it defines: numbers in range, no prefix without digits.
TEST(LaunchFields, AgreeWithTheLibrarysScan) {
    std::mt19937 random(1);
    const auto pick = [&random](const auto& choices) { return choices[random() % std::size(choices)]; };
    const char* const pieces[] = {"0", "1", "12", "9", "aF", "-", "+", "7F", "00", "g", ".", "\xE4", "1"};
    const char* const blanks[] = {" ", " ", "\t", "  ", "\r\n"};
    for (int i = 0; i < 20000; ++i) {
        std::string line;
        for (unsigned field = random() % 10; field > 0; --field) {
            for (unsigned length = 1 + random() % 4; length > 0; --length) {
                line += pick(pieces);
            }
            line += pick(blanks);
        }
        Fields f = kUnset;
        (void)std::sscanf(line.c_str(), "%08X %08X %08X %d %d %d %d %d", &f.parent, &f.placeholder, &f.pipe,
                          &f.reserved, &f.clock, &f.log, &f.video, &f.audio);
        ASSERT_EQ(Scan(line.c_str()), f) << '"' << line << '"';
    }
}

} // namespace
} // namespace vistrame
