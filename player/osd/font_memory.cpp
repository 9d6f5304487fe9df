#include "player/osd/font_memory.h"

#include <cstdlib>

namespace vistrame {

namespace {

std::size_t blocks = 0;

void* Allocate(FT_Memory /*memory*/, long size) {
    void* block = std::malloc(static_cast<std::size_t>(size));
    blocks += block != nullptr ? 1 : 0;
    return block;
}

void Free(FT_Memory /*memory*/, void* block) {
    blocks -= block != nullptr ? 1 : 0;
    std::free(block);
}

// Never asked to make a block or to give one back: the library goes to the other two for that.
void* Reallocate(FT_Memory /*memory*/, long /*currentSize*/, long newSize, void* block) {
    return std::realloc(block, static_cast<std::size_t>(newSize));
}

} // namespace

FT_Memory FontMemory() {
    static FT_MemoryRec_ memory = {nullptr, Allocate, Free, Reallocate};
    return &memory;
}

std::size_t FontMemoryBlocks() {
    return blocks;
}

} // namespace vistrame
