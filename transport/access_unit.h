#pragma once

#include "transport/coding.h"

namespace vistrame {

// Whether decoding can begin with these bytes, the beginning of an access unit: MPEG video with a sequence
// header before an I picture, H.264 with an IDR picture, a recovery point, or a sequence parameter set before
// an I slice, HEVC with an IRAP picture. Audio can begin anywhere; of other data nothing is known, so the
// answer is no. Looks no further than the first slice.
bool IsRandomAccessPoint(Coding coding, ByteSpan accessUnit);

} // namespace vistrame
