// The analyzer's commands: window messages with the registered number of "QVRA Registration", the code in
// wParam, a 32-bit argument in lParam. Portable, for whoever sends or receives them.
#pragma once

#include <cstdint>

namespace vistrame {

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

// Bits 28-16 and 12-0; the others are ignored.
struct PidPair {
    std::uint16_t video;
    std::uint16_t audio;

    bool operator==(const PidPair&) const = default;
};

constexpr PidPair UnpackPids(std::uint32_t argument) {
    return {static_cast<std::uint16_t>(argument >> 16 & 0x1FFF),
            static_cast<std::uint16_t>(argument & 0x1FFF)};
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

constexpr std::uint32_t PackElement(ElementArgument position) {
    return std::uint32_t{position.element} << 24 | static_cast<std::uint32_t>(position.x & 0xFFF) << 12 |
           static_cast<std::uint32_t>(position.y & 0xFFF);
}

} // namespace vistrame
