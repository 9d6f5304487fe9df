#include "player/osd/osd_font.h"

namespace vistrame {

OsdAdvanceCache* OsdFont::advanceCache = nullptr;

namespace {

// Signed 32-bit, whatever the width of the font library's types; wraps around.
std::int32_t Product(FT_Pos left, std::uint32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) * right);
}

// Faces whose bounding box promises more height than their capitals use: the ascent that lines up, by the
// height of the box at the pixel size.
struct AscentCorrection {
    std::int32_t top; // font units x pixels
    std::int32_t unitsPerEm;
    std::int32_t ascent;
};

constexpr AscentCorrection kAscentCorrections[] = {
    {19200, 1000, 19},
    {115200, 1000, 115},
    {38400, 1000, 38},
    {67232, 2048, 30},
};

std::int32_t Ascent(std::int32_t top, std::int32_t unitsPerEm) {
    for (const AscentCorrection& correction : kAscentCorrections) {
        if (correction.top == top && correction.unitsPerEm == unitsPerEm) {
            return correction.ascent;
        }
    }
    return top / unitsPerEm;
}

std::int32_t Descent(std::int32_t below, std::int32_t unitsPerEm) {
    return below / unitsPerEm + (below % unitsPerEm != 0 ? 1 : 0);
}

// The cache's entry for the character; null without one.
std::int32_t* CachedAdvance(std::uint32_t character) {
    OsdAdvanceCache* cache = OsdFont::advanceCache;
    return cache != nullptr && character < cache->advances.size() ? &cache->advances[character] : nullptr;
}

} // namespace

std::int32_t OsdFont::advance(std::uint32_t character) {
    std::int32_t* cached = CachedAdvance(character);
    if (cached != nullptr && *cached != 0) {
        return *cached;
    }
    const std::uint32_t index = glyphIndex(character);
    if (index < 1) {
        if (fallback == nullptr || !fallback->ensureOpen()) {
            return 0;
        }
        (void)fallback->setPixelSize(pixelSize); // a size it cannot have makes the advance 0
        return fallback->advance(character);
    }
    if (FT_Load_Glyph(face, index, FT_LOAD_DEFAULT) != 0) {
        return 0;
    }
    const std::int32_t advance = Product(face->glyph->advance.x, face->units_per_EM * 32U) / 2048;
    if (cached != nullptr) {
        *cached = advance;
    }
    return advance;
}

std::int32_t OsdFont::kerning(std::uint32_t left, std::uint32_t right) {
    const std::uint32_t leftIndex = glyphIndex(left);
    const std::uint32_t rightIndex = glyphIndex(right);
    if (leftIndex < 1 || rightIndex < 1) {
        return 0;
    }
    FT_Vector vector{};
    if (FT_Get_Kerning(face, leftIndex, rightIndex, FT_KERNING_UNSCALED, &vector) != 0) {
        return 0;
    }
    return static_cast<std::int32_t>(vector.x);
}

void OsdFont::verticalMetrics(std::uint32_t size, std::int32_t& ascent, std::int32_t& descent) {
    // Bitmap faces have no font units either.
    const bool measurable = face != nullptr && face->units_per_EM != 0;
    if (ascentHook != nullptr) {
        ascent = ascentHook(size);
    } else if (measurable) {
        ascent = Ascent(Product(face->bbox.yMax, size), face->units_per_EM);
    }
    if (measurable) {
        descent = Descent(Product(-face->bbox.yMin, size), face->units_per_EM);
    }
}

bool OsdFont::ensureOpen() {
    if (face != nullptr) {
        return true;
    }
    if (openLibrary == nullptr || openPath == nullptr || openFace == nullptr) {
        return false;
    }
    return openFace(openLibrary, openPath, 0, &face) == 0;
}

FT_Error OsdFont::setPixelSize(std::uint32_t size) {
    if (size == pixelSize) {
        return 0;
    }
    pixelSize = size;
    return FT_Set_Pixel_Sizes(face, 0, size);
}

std::uint32_t OsdFont::glyphIndex(std::uint32_t character) const {
    return FT_Get_Char_Index(face, character);
}

} // namespace vistrame
