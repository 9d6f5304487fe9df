// What a text layout asks of a font: how wide a character is, how two of them move together, how high a line
// is.
//
// Units      pixels at the size last set, except where an operation says otherwise; characters are code
//            points of the face's default character map.
// Threads    the thread that draws.
// Ownership  owns nothing: face, library, path and fallback live as long as their owner's process.
// Errors     silent: what cannot be answered is 0, or left as it was.
#pragma once

#include <array>
#include <cstdint>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace vistrame {

// Advances of the characters 0 to 255; 0: not known yet.
struct OsdAdvanceCache {
    std::array<std::uint32_t, 3> header; // no use of ours
    std::array<std::int32_t, 256> advances;
};

// The order of the virtual operations and of the fields is fixed.
class OsdFont {
public:
    OsdFont() = default;
    OsdFont(const OsdFont&) = delete;
    OsdFont& operator=(const OsdFont&) = delete;

    // Of one character, from the fallback when this font has no glyph for it. In the face's own scale: the
    // advance at the pixel size x units per EM x 32 / 2048.
    virtual std::int32_t advance(std::uint32_t character);
    // Font units: not scaled to the pixel size.
    virtual std::int32_t kerning(std::uint32_t left, std::uint32_t right);
    // Extent above and below the baseline at a pixel size. Without a face, outputs that would need one stay.
    virtual void verticalMetrics(std::uint32_t size, std::int32_t& ascent, std::int32_t& descent);

    // Opens the face now if there is what it takes. False: there is no face.
    bool ensureOpen();
    // 0, or the font library's error. A size that is set already is not set again.
    FT_Error setPixelSize(std::uint32_t size);
    // 0: the font has no such character, or there is no face.
    std::uint32_t glyphIndex(std::uint32_t character) const;

    OsdFont* fallback = nullptr; // asked for characters that this font lacks
    // All three set: the face is opened when it is first needed.
    FT_Library openLibrary = nullptr;
    const char* openPath = nullptr;
    decltype(&FT_New_Face) openFace = nullptr;
    FT_Face face = nullptr;
    std::uint32_t pixelSize = 0;                              // last set on the face
    std::int32_t (*ascentHook)(std::uint32_t size) = nullptr; // answers for the face when set

    // One for all fonts, whatever their sizes; null, as it is unless someone installs one: no cache.
    static OsdAdvanceCache* advanceCache;
};

} // namespace vistrame
