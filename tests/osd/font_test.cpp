// The font services with the font that is compiled in.
#include "osd/osd_font.h"

#include <cstring>

#include <gtest/gtest.h>

#include FT_MODULE_H

#include "osd/font_memory.h"
#include "osd/overlay_drawing.h"
#include "osd/screen_font.h"

namespace vistrame {

namespace {

// The overlay's library, and a font of its own per test on a second face, so that no test sees another's size.
class Font : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartOverlayDrawing());
        ASSERT_NE(OverlayFont->face, nullptr);
        library = OverlayFont->face->glyph->library;
        blocksBefore = FontMemoryBlocks();
        ASSERT_EQ(FT_New_Memory_Face(library, ScreenFont().data(), static_cast<FT_Long>(ScreenFont().size()),
                                     0, &font.face),
                  0);
    }

    void TearDown() override {
        OsdFont::advanceCache = nullptr;
        FT_Done_Face(font.face);
        EXPECT_EQ(FontMemoryBlocks(), blocksBefore);
    }

    FT_Library library = nullptr;
    std::size_t blocksBefore = 0;
    OsdFont font;
};

constexpr std::uint32_t kMissing = 0x4E2D; // a Han character, which a Latin screen font lacks

TEST_F(Font, StartsOnceWithItsOwnMemoryAndAllDrivers) {
    EXPECT_EQ(font.face->memory, FontMemory());
    EXPECT_GT(FontMemoryBlocks(), 0U);
    EXPECT_NE(FT_Get_Module(library, "pfr"), nullptr);
    EXPECT_NE(FT_Get_Module(library, "truetype"), nullptr);
    EXPECT_EQ(OverlayCanvas.bufferSize(), 8294400U);
    const std::uint8_t* pixels = OverlayCanvas.pixelsPtr();
    const OsdFont* started = OverlayFont;
    EXPECT_TRUE(StartOverlayDrawing());
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), pixels);
    EXPECT_EQ(OverlayFont, started);
}

TEST_F(Font, AdvancesFollowTheFace) {
    ASSERT_EQ(font.setPixelSize(32), 0);
    for (const char character : {'A', 'i', 'W', ' ', '~'}) {
        ASSERT_EQ(FT_Load_Char(font.face, static_cast<FT_ULong>(character), FT_LOAD_DEFAULT), 0);
        const FT_Pos loaded = font.face->glyph->advance.x;
        EXPECT_GT(loaded, 0);
        EXPECT_EQ(font.advance(static_cast<std::uint32_t>(character)),
                  loaded * font.face->units_per_EM * 32 / 2048)
            << character;
    }
    EXPECT_LT(font.advance('i'), font.advance('W'));
    EXPECT_EQ(font.advance(kMissing), 0);
    // The library counts its blocks: glyphs come and go, nothing piles up.
    const std::size_t blocks = FontMemoryBlocks();
    for (int i = 0; i < 1000; ++i) {
        (void)font.advance(32 + i % 95); // only the memory matters
    }
    EXPECT_EQ(FontMemoryBlocks(), blocks);
}

TEST_F(Font, AdvanceWrapsAroundInSigned32Bits) {
    ASSERT_EQ(font.setPixelSize(10000), 0);
    const FT_UShort unitsPerEm = font.face->units_per_EM;
    ASSERT_EQ(FT_Load_Char(font.face, 'W', FT_LOAD_DEFAULT), 0);
    const std::int64_t product = std::int64_t{font.face->glyph->advance.x} * unitsPerEm * 32;
    ASSERT_GT(product, INT32_MAX);
    EXPECT_EQ(font.advance('W'), static_cast<std::int32_t>(product) / 2048);
}

TEST_F(Font, SameSizeIsNotSetAgain) {
    ASSERT_EQ(font.setPixelSize(24), 0);
    FT_Set_Pixel_Sizes(font.face, 0, 48); // behind the font's back: seen if it sets its size again
    EXPECT_EQ(font.setPixelSize(24), 0);
    EXPECT_EQ(font.face->size->metrics.y_ppem, 48);
    EXPECT_EQ(font.setPixelSize(25), 0);
    EXPECT_EQ(font.face->size->metrics.y_ppem, 25);
    EXPECT_NE(OsdFont().setPixelSize(12), 0); // no face
}

TEST_F(Font, KerningIsInFontUnits) {
    ASSERT_EQ(font.setPixelSize(10), 0);
    const std::int32_t closer = font.kerning('A', 'V');
    EXPECT_LT(closer, -10); // pixels at this size would be -1
    ASSERT_EQ(font.setPixelSize(100), 0);
    EXPECT_EQ(font.kerning('A', 'V'), closer);
    EXPECT_EQ(font.kerning('H', 'H'), 0);
    EXPECT_EQ(font.kerning('A', kMissing), 0);
    EXPECT_EQ(font.kerning(kMissing, 'V'), 0);
}

FT_Error OpenFromPath(FT_Library library, const char* path, FT_Long, FT_Face* face) {
    if (std::strcmp(path, "font of the test") != 0) {
        return FT_Err_Cannot_Open_Resource;
    }
    return FT_New_Memory_Face(library, ScreenFont().data(), static_cast<FT_Long>(ScreenFont().size()), 0,
                              face);
}

TEST_F(Font, FallbackOpensLateAndTakesTheSize) {
    OsdFont lacking; // has no face at all, so no character either
    lacking.fallback = &font;
    lacking.pixelSize = 40;
    const std::int32_t advance = lacking.advance('A');
    EXPECT_GT(advance, 0);
    EXPECT_EQ(font.pixelSize, 40U);
    EXPECT_EQ(advance, font.advance('A'));
    EXPECT_EQ(lacking.advance(kMissing), 0);

    struct Row {
        FT_Library library;
        const char* path;
        decltype(&FT_New_Face) open;
        bool opens;
    };
    const Row rows[] = {
        {nullptr, "font of the test", OpenFromPath, false}, {library, nullptr, OpenFromPath, false},
        {library, "font of the test", nullptr, false},      {library, "another file", OpenFromPath, false},
        {library, "no such file", FT_New_Face, false},      {library, "font of the test", OpenFromPath, true},
    };
    for (const Row& row : rows) {
        OsdFont late;
        late.openLibrary = row.library;
        late.openPath = row.path;
        late.openFace = row.open;
        lacking.fallback = &late;
        EXPECT_EQ(lacking.advance('A'), row.opens ? advance : 0);
        EXPECT_EQ(late.face != nullptr, row.opens);
        EXPECT_EQ(late.ensureOpen(), row.opens);
        if (row.opens) {
            FT_Done_Face(late.face);
        }
    }
}

TEST_F(Font, CacheAnswersBeforeTheFace) {
    OsdAdvanceCache cache{};
    OsdFont::advanceCache = &cache;
    ASSERT_EQ(font.setPixelSize(32), 0);
    const std::int32_t advance = font.advance('A');
    EXPECT_EQ(cache.advances['A'], advance);
    cache.advances['A'] = 4711;
    EXPECT_EQ(font.advance('A'), 4711);
    EXPECT_GT(font.advance(0x152), 0); // beyond the table: from the face
    EXPECT_EQ(font.advance(0x7F), cache.advances[0x7F]);
    EXPECT_EQ(cache.advances['B'], 0); // not asked for
    // The table is shared, so it answers for a font without a face; the missing character is not stored.
    OsdFont other;
    EXPECT_EQ(other.advance('A'), 4711);
    EXPECT_EQ(other.advance('C'), 0);
    EXPECT_EQ(cache.advances['C'], 0);
}

TEST(FontMetrics, AscentsAreCorrectedAndDescentsRoundedUp) {
    struct Row {
        std::int16_t top, bottom, unitsPerEm;
        std::uint32_t size;
        std::int32_t ascent, descent;
    };
    const Row rows[] = {
        {800, -250, 1000, 24, 19, 6},    // 19200: corrected, as it comes out anyway
        {960, -250, 1000, 120, 115, 30}, // 115200
        {1600, -250, 1000, 24, 38, 6},   // 38400
        {2101, -250, 2048, 32, 30, 4},   // 67232: 32 without the correction
        {2101, -250, 1000, 32, 67, 8},   // the same height in another em
        {1000, -250, 1000, 25, 25, 7},   // 6.25
        {-100, -1, 1000, 25, -2, 1},     // truncated towards 0
        {999, 250, 1000, 10, 9, -1},     // a box above the baseline: -2.5 truncated, and one more
        {999, 100, 1000, 10, 9, -1},     {32000, -32000, 1000, 100000, -1094967, -1094966}, // beyond 32 bits
    };
    for (const Row& row : rows) {
        FT_FaceRec face{};
        face.bbox = {0, row.bottom, 0, row.top};
        face.units_per_EM = static_cast<FT_UShort>(row.unitsPerEm);
        OsdFont font;
        font.face = &face;
        std::int32_t ascent = 4711, descent = 4711;
        font.verticalMetrics(row.size, ascent, descent);
        EXPECT_EQ(ascent, row.ascent) << row.top << " x " << row.size;
        EXPECT_EQ(descent, row.descent) << row.bottom << " x " << row.size;
    }
}

TEST(FontMetrics, HookAnswersForTheAscentOnly) {
    FT_FaceRec face{};
    face.bbox = {0, -250, 0, 800};
    face.units_per_EM = 1000;
    OsdFont font;
    std::int32_t ascent = 4711, descent = 4711;
    font.verticalMetrics(24, ascent, descent); // no face, no hook
    EXPECT_EQ(ascent, 4711);
    EXPECT_EQ(descent, 4711);
    font.ascentHook = [](std::uint32_t size) { return static_cast<std::int32_t>(size * 2); };
    font.verticalMetrics(24, ascent, descent); // no face
    EXPECT_EQ(ascent, 48);
    EXPECT_EQ(descent, 4711);
    font.face = &face;
    font.verticalMetrics(25, ascent, descent);
    EXPECT_EQ(ascent, 50);
    EXPECT_EQ(descent, 7);
    face.units_per_EM = 0; // a bitmap face has no font units
    font.ascentHook = nullptr;
    font.verticalMetrics(24, ascent, descent);
    EXPECT_EQ(ascent, 50);
}

} // namespace

} // namespace vistrame
