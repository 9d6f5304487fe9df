// The player's settings as its user may set them here: their names and kinds, without the registry.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "contract/settings.h"

namespace vistrame {

struct SettingRow {
    std::string_view name; // of the registry value
    bool isText = false;   // a string; a number otherwise
    std::string_view about;
};

inline constexpr std::array kSettingRows{
    SettingRow{setting::kUseVmr9, false, "1: VMR9 renders the video, 0: the Overlay Mixer"},
    SettingRow{setting::kMpeg2Codec, false, "MPEG-2 video decoder, 0: automatic"},
    SettingRow{setting::kMpeg4Codec, false, "H.264 and HEVC video decoder, 0: automatic"},
    SettingRow{setting::kKorvixCodec, false, "1: the maker's own demultiplexer"},
    SettingRow{setting::kDebugOsd, false, "1: the stream's state as text over the picture"},
    SettingRow{setting::kTerminateOnVideoStall, false, "stored by the player, without effect"},
    SettingRow{setting::kAudioUnmuteMsec, false, "silence before the sound fades in, ms"},
    SettingRow{setting::kErrorLogDir, true, "folder of the error files, with its last backslash"},
};

// `name` is one of the table's.
inline const SettingRow& SettingRowOf(std::string_view name) {
    return *std::ranges::find(kSettingRows, name, &SettingRow::name);
}

// One value to be stored.
struct SettingChange {
    SettingRow row;
    std::uint32_t number = 0; // of a number
    std::string text;         // of a text, UTF-8
};

// Every setting and its meaning, one per line, for --help.
std::string SettingsHelp();

// Nothing when there is no such setting or `value` is no number where one is needed.
std::optional<SettingChange> ParseSetting(std::string_view name, std::string_view value);

} // namespace vistrame
