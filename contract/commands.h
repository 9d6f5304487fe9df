// The window message between analyzer and player. The player posts it once to the analyzer's window, with
// wParam 0 and its own window in lParam; from then on the analyzer sends its commands with it: the code in
// wParam, a 32-bit argument in lParam. Every command answers 0.
#pragma once

#include <cstdint>
#include <string_view>

#include "contract/pid.h"

namespace vistrame {

inline constexpr char kControlMessageName[] = "QVRA Registration"; // registered by both programs

// Codes that are not listed (9, 10, 12, 14 and above) are not handled.
enum class CommandCode : std::uint32_t {
    SetPid = 0,         // argument: PidPair
    ShowOverlay = 1,    // argument: ElementArgument; x and y both 0 hide the element
    MoveOsdElement = 2, // argument: ElementArgument
    Run = 3,            // no argument, as with all that say none
    Stop = 4,
    Pause = 5,
    SendDisc = 6,
    SetPids2 = 7,    // argument: whole, for the feed filter; a PID in bits 15-0
    UnmuteAudio = 8, // argument: milliseconds before the fade-in
    Quit = 11,
    RefreshOverlay = 13,
};

// What a code is called in logs; empty where none is listed. One that lacks its name here does not compile
// (-Wswitch).
constexpr std::string_view CommandName(CommandCode code) {
    switch (code) {
        case CommandCode::SetPid:
            return "SetPid";
        case CommandCode::ShowOverlay:
            return "ShowOverlay";
        case CommandCode::MoveOsdElement:
            return "MoveOsdElement";
        case CommandCode::Run:
            return "Run";
        case CommandCode::Stop:
            return "Stop";
        case CommandCode::Pause:
            return "Pause";
        case CommandCode::SendDisc:
            return "SendDisc";
        case CommandCode::SetPids2:
            return "SetPids2";
        case CommandCode::UnmuteAudio:
            return "UnmuteAudio";
        case CommandCode::Quit:
            return "Quit";
        case CommandCode::RefreshOverlay:
            return "RefreshOverlay";
    }
    return {};
}

// Bits 28-16 and 12-0; the others are ignored.
struct PidPair {
    Pid video;
    Pid audio;

    bool operator==(const PidPair&) const = default;
};

constexpr PidPair UnpackPids(std::uint32_t argument) {
    return {static_cast<Pid>(argument >> 16 & kNullPid), static_cast<Pid>(argument & kNullPid)};
}

constexpr std::uint32_t PackPids(PidPair pids) {
    return std::uint32_t{pids.video} << 16 | pids.audio;
}

// Bits 31-24, 23-12 and 11-0.
struct ElementArgument {
    std::uint8_t element; // any index is valid
    std::int32_t x;       // overlay pixels, 0-4095
    std::int32_t y;
};

constexpr ElementArgument UnpackElement(std::uint32_t argument) {
    return {static_cast<std::uint8_t>(argument >> 24), static_cast<std::int32_t>(argument >> 12 & 0xFFF),
            static_cast<std::int32_t>(argument & 0xFFF)};
}

} // namespace vistrame
