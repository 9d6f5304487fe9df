#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "contract/pid.h"

namespace vistrame {

// Bytes of a stream, borrowed; who owns them and for how long is said where they are handed over.
using ByteSpan = std::span<const std::uint8_t>;

inline constexpr std::size_t kPidCount = 0x2000;
inline constexpr Pid kPatPid = 0x0000;
inline constexpr Pid kPsipPid = 0x1FFB; // ATSC tables, the channel table among them
inline constexpr Pid kSdtPid = 0x0011;  // shared with the bouquet table, which has another table id

// Big-endian fields, as every table and header of a transport stream has them. The caller checks the bounds.
constexpr std::uint16_t ReadBig16(ByteSpan bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

constexpr std::uint32_t ReadBig32(ByteSpan bytes, std::size_t at) {
    return static_cast<std::uint32_t>(ReadBig16(bytes, at)) << 16 | ReadBig16(bytes, at + 2);
}

constexpr Pid ReadPid(ByteSpan bytes, std::size_t at) {
    return ReadBig16(bytes, at) & kNullPid;
}

} // namespace vistrame
