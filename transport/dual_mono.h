#pragma once

#include "transport/coding.h"

namespace vistrame {

// Whether the two channels of this sound are two programmes of their own, two languages as a rule, and not
// the sides of one. `frame` begins with the sync word of MPEG audio, AC-3 or E-AC-3; of other codings the
// answer is no.
bool IsDualMono(Coding coding, ByteSpan frame);

} // namespace vistrame
