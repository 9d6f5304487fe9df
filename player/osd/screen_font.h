// The font file that is compiled into the program. NOTICE names it and its licence.
#pragma once

#include <cstdint>
#include <span>

namespace vistrame {

// A whole file as the font library opens it; constant for the life of the process.
std::span<const std::uint8_t> ScreenFont();

} // namespace vistrame
