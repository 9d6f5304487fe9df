#pragma once

#include "transport/bytes.h"

namespace vistrame {

// CRC-32 of MPEG-2 sections: polynomial 0x04C11DB7, most significant bit first, starts at all ones, not
// inverted. Over a section with its own CRC at the end the result is 0.
std::uint32_t Crc32Mpeg(ByteSpan bytes);

} // namespace vistrame
