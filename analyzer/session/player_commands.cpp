#include "analyzer/session/player_commands.h"

#include <array>

#include "analyzer/base/text.h"
#include "contract/launch_line.h"

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
    return Format(kLaunchLineFormat, static_cast<unsigned>(line.parentWindow), 0U,
                  static_cast<unsigned>(line.pipeId), 0, line.clockSource, line.log ? 1 : 0, line.videoType,
                  line.audioType);
}

} // namespace vistrame
