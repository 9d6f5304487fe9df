// The memory of the font library: the process's heap, counted.
//
// Threads    the thread that draws, like everything of the font library.
#pragma once

#include <cstddef>

#include <ft2build.h>
#include FT_SYSTEM_H

namespace vistrame {

// The three callbacks; the user pointer is not used. The record lives as long as the process.
FT_Memory FontMemory();

// Blocks handed out and not given back. Constant once the fonts are open and a size is set.
std::size_t FontMemoryBlocks();

} // namespace vistrame
