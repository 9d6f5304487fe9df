#pragma once

#include <string>

#include "transport/bytes.h"

namespace vistrame {

// A text field of DVB service information as UTF-8: the default table (ISO 6937 with the euro sign), ISO
// 8859-1 to -15 by selection byte, UCS-2 and UTF-8. Control codes are dropped, a line break becomes a space;
// what a table does not define, and text in a multi-byte table other than those, becomes U+FFFD.
std::string DecodeServiceText(ByteSpan text);

} // namespace vistrame
