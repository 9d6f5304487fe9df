#pragma once

#include <windows.h>
#include <unknwn.h>

namespace vistrame {

// An input pin that reads a sample while it receives it and keeps nothing of it: whoever delivers may lend it
// memory instead of copying into an allocator's buffer. Nothing to call; having the interface says it. Only
// between filters of this server, as other pins may keep what they receive and count on an allocator to
// bound it.
struct PlaceReader : public IUnknown {};

} // namespace vistrame

__CRT_UUID_DECL(vistrame::PlaceReader, 0xf8f8e477, 0x64d4, 0x405a, 0x92, 0xc3, 0xfd, 0x71, 0x92, 0x94, 0x65,
                0x20)
