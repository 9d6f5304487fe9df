// The player's settings in the current user's registry: numbers (REG_DWORD) but for the last. All are
// optional.
#pragma once

namespace vistrame {

inline constexpr char kSettingsKey[] = R"(Software\Korvix\QVRA\Config)"; // under HKEY_CURRENT_USER

namespace setting {

inline constexpr char kUseVmr9[] = "UseVMR9";
inline constexpr char kMpeg2Codec[] = "MPEG2Codec";
inline constexpr char kMpeg4Codec[] = "MPEG4Codec";
inline constexpr char kKorvixCodec[] = "KorvixCodec";
inline constexpr char kDebugOsd[] = "DebugOSD";
inline constexpr char kTerminateOnVideoStall[] = "TerminateOnVideoStall";
inline constexpr char kAudioUnmuteMsec[] = "AudioUnmuteMsec";
inline constexpr char kErrorLogDir[] = "ErrorLogDir"; // text: a folder with its last backslash

} // namespace setting
} // namespace vistrame
