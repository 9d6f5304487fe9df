#include "player/app/settings.h"

#include <cstring>

#include <windows.h>

#include "player/app/registry.h"
#include "contract/settings.h"

namespace vistrame {

std::uint32_t UseVMR9 = 0;
std::uint32_t MPEG2Codec = 0;
std::uint32_t MPEG4Codec = 0;
std::uint32_t KorvixCodec = 0;
std::uint32_t DebugOSD = 0;
std::uint32_t TerminateOnVideoStall = 0;
char ErrorLogDir[260] = "";

namespace {

constexpr char kDefaultErrorLogDir[] = "C:\\ErrorLogs\\";

std::uint32_t ReadSetting(const char* name) {
    return ReadRegistryDword(HKEY_CURRENT_USER, kSettingsKey, name);
}

} // namespace

void ReadSettings() {
    UseVMR9 = ReadSetting(setting::kUseVmr9);
    MPEG2Codec = ReadSetting(setting::kMpeg2Codec);
    MPEG4Codec = ReadSetting(setting::kMpeg4Codec);
    KorvixCodec = ReadSetting(setting::kKorvixCodec);
    DebugOSD = ReadSetting(setting::kDebugOsd);
    TerminateOnVideoStall = ReadSetting(setting::kTerminateOnVideoStall);
    if (!ReadRegistryString(HKEY_CURRENT_USER, kSettingsKey, setting::kErrorLogDir, ErrorLogDir,
                            sizeof ErrorLogDir)) {
        std::memcpy(ErrorLogDir, kDefaultErrorLogDir, sizeof kDefaultErrorLogDir);
    }
}

std::uint32_t ReadAudioUnmuteMsec() {
    return ReadSetting(setting::kAudioUnmuteMsec);
}

} // namespace vistrame
