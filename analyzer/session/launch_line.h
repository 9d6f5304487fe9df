// The command line that the player is started with (contract/launch_line.h).
#pragma once

#include <cstdint>
#include <string>

namespace vistrame {

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
