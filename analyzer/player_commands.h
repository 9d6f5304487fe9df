// What goes to the player: its commands and the line it is started with.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "transport/bytes.h"

namespace vistrame {

// Registered by both programs: carries the player's announcement and every command.
inline constexpr char kControlMessageName[] = "QVRA Registration";

// First parameter of a command message.
enum class PlayerCommand : std::uint32_t {
    kSetPid = 0,
    kShowOverlay = 1,
    kMoveOsdElement = 2,
    kRun = 3,
    kStop = 4,
    kPause = 5,
    kSendDisc = 6,
    kSetPids2 = 7,
    kUnmuteAudio = 8,
    kQuit = 11,
    kRefreshOverlay = 13,
};

// For the log and the status line; empty for a code without a name.
std::string_view PlayerCommandName(std::uint32_t code);

// Argument of SetPid; kNullPid selects nothing.
constexpr std::uint32_t PackPids(Pid video, Pid audio) {
    return std::uint32_t{video} << 16 | audio;
}

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
std::string FormatPipeName(std::uint32_t pipeId);

} // namespace vistrame
