#pragma once

#include "transport/coding.h"

namespace vistrame {

// Whether decoding can begin with these bytes, the beginning of an access unit: MPEG video a sequence header
// and an I picture, H.264 an IDR picture, a recovery point or parameter sets with only I slices, HEVC an IRAP
// picture. Audio and other data can begin anywhere. Looks no further than the first slice.
bool IsRandomAccessPoint(Coding coding, ByteSpan accessUnit);

} // namespace vistrame
