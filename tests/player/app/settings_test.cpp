// Settings as the real registry holds them, whatever it holds.
#include "player/app/settings.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/settings_key.h"

namespace vistrame {
namespace {

constexpr char kDefaultDirectory[] = "C:\\ErrorLogs\\";

using Numbers = std::array<std::uint32_t, 7>;

Numbers ReadNumbers() {
    ReadSettings();
    return {
        UseVMR9, MPEG2Codec, MPEG4Codec, KorvixCodec, DebugOSD, TerminateOnVideoStall, ReadAudioUnmuteMsec()};
}

TEST(Settings, AreReadOrKeepTheirDefault) {
    {
        const test::SettingsKey key;
        const char* const names[] = {"UseVMR9",        "MPEG2Codec", "MPEG4Codec",
                                     "KorvixCodec",    "DebugOSD",   "TerminateOnVideoStall",
                                     "AudioUnmuteMsec"};
        const Numbers numbers = {1, 0xFFFFFFFF, 9, 2, 3, 4, 1500};
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            key.Set(names[i], numbers[i]);
        }
        EXPECT_EQ(ReadNumbers(), numbers);
        key.SetRaw("UseVMR9", REG_SZ, "abc", 4); // as many bytes as a number, and none
        key.SetRaw("MPEG4Codec", REG_DWORD, "1", 1);
        EXPECT_EQ(ReadNumbers(), (Numbers{0, 0xFFFFFFFF, 0, 2, 3, 4, 1500}));
    }
    EXPECT_EQ(ReadNumbers(), Numbers{}) << "without a key";
    EXPECT_STREQ(ErrorLogDir, kDefaultDirectory);
}

TEST(Settings, AnErrorDirectoryThatIsNoShortTextIsReplacedByTheDefault) {
    const std::string longest(259, 'x');
    const struct {
        DWORD type;
        std::string bytes;
        std::string directory;
    } rows[] = {
        {REG_SZ, std::string("D:\\Logs") + '\0', "D:\\Logs"},
        {REG_SZ, std::string(1, '\0'), ""},
        {REG_SZ, longest + '\0', longest},
        {REG_SZ, longest, longest},
        {REG_SZ, longest + 'x', kDefaultDirectory}, // 260 bytes and no room for a terminator
        {REG_DWORD, "abcd", kDefaultDirectory},
    };
    const test::SettingsKey key;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes.substr(0, 30));
        key.SetRaw("ErrorLogDir", row.type, row.bytes.data(), row.bytes.size());
        ReadSettings();
        EXPECT_EQ(std::string(ErrorLogDir), row.directory);
    }
}

} // namespace
} // namespace vistrame
