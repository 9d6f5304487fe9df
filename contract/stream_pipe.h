// The stream pipe: the analyzer serves it and writes the transport stream's bytes, nothing else; the player
// reads them.
#pragma once

namespace vistrame {

// Its name by the launch line's pipe number, for printf.
inline constexpr char kStreamPipeFormat[] = R"(\\.\pipe\QVRA%08X)";

} // namespace vistrame
