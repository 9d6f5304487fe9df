#pragma once

#include <cstdint>

namespace vistrame {

// Packet identifier of a transport stream: 13 bits.
using Pid = std::uint16_t;

// That of stuffing packets, whose content means nothing; wherever a PID is chosen or reported it means
// "none".
inline constexpr Pid kNullPid = 0x1FFF;

} // namespace vistrame
