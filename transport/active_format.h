#pragma once

#include <optional>
#include <string>

#include "transport/coding.h"

namespace vistrame {

// Which part of a frame holds the picture, as a broadcaster may say with each picture (active format
// description: ETSI TS 101 154, annex B; SMPTE ST 2016-1): four bits, 0 where the stream says that it does
// not say.
using ActiveFormat = unsigned;

// Of the access unit, or its beginning, up to its first slice: from its user data (MPEG video) or
// supplemental enhancement information (H.264, HEVC). Nothing when it holds none that is whole.
std::optional<ActiveFormat> FindActiveFormat(Coding coding, ByteSpan accessUnit);

// For people: "14:9 centre", ...
std::string ActiveFormatName(ActiveFormat format);

} // namespace vistrame
