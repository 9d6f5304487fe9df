#include "analyzer/player_commands.h"

#include "analyzer/text.h"

namespace vistrame {

namespace {

constexpr std::array<std::string_view, 14> kNames{
    "SetPid",   "ShowOverlay",    "MoveOsdElement", "Run", "Stop", "Pause",
    "SendDisc", "SetPids2",       "UnmuteAudio",    "",    "",     "Quit",
    "",         "RefreshOverlay",
};

} // namespace

std::string_view PlayerCommandName(std::uint32_t code) {
    return code < kNames.size() ? kNames[code] : std::string_view();
}

std::string FormatLaunchLine(const LaunchLine& line) {
    // The second and fourth number have no meaning to the player.
    return Format("%08X %08X %08X %d %d %d %d %d", static_cast<unsigned>(line.parentWindow), 0U,
                  static_cast<unsigned>(line.pipeId), 0, line.clockSource, line.log ? 1 : 0, line.videoType,
                  line.audioType);
}

std::string FormatPipeName(std::uint32_t pipeId) {
    return Format(R"(\\.\pipe\QVRA%08X)", static_cast<unsigned>(pipeId));
}

} // namespace vistrame
