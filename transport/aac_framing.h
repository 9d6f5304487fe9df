#pragma once

#include "transport/coding.h"

namespace vistrame {

// Whether a frame of AAC begins in these bytes that is framed as Coding::kAacLatm (LOAS) or
// Coding::kAacAdts is. A frame counts when its sync word is there and another follows at the frame's own
// length, or the bytes end there. By chance one does in a few payloads of ten thousand, so whoever knows the
// framing already looks for that one first.
bool HoldsAacFrame(Coding framing, ByteSpan bytes);

} // namespace vistrame
