// What goes to the player, as text: names of its commands and the line it is started with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "contract/commands.h"

namespace vistrame {

// For the log and the status line; empty for a code without a name.
std::string_view PlayerCommandName(std::uint32_t code);

struct LaunchLine {
    std::uint32_t parentWindow = 0;
    std::uint32_t pipeId = 0;
    int clockSource = 0;
    bool log = false;
    int videoType = 0;
    int audioType = 0;
};

// The eight numbers, separated by blanks.
std::string FormatLaunchLine(const LaunchLine& line);

} // namespace vistrame
