// The font services with the font that is compiled in.
#include "player/osd/osd_font.h"

#include <cstring>

#include <gtest/gtest.h>

#include "player/osd/font_memory.h"
#include "player/osd/overlay_drawing.h"
#include "player/osd/screen_font.h"

namespace vistrame {
namespace {

FT_Error OpenFromPath(FT_Library library, const char* path, FT_Long, FT_Face* face) {
    if (std::strcmp(path, "font of the test") != 0) {
        return FT_Err_Cannot_Open_Resource;
    }
    return FT_New_Memory_Face(library, ScreenFont().data(), static_cast<FT_Long>(ScreenFont().size()), 0,
                              face);
}

// The overlay's library, and a font of its own per test on a second face, so that no test sees another's
// size.
class Font : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartOverlayDrawing());
        ASSERT_NE(OverlayFont->face, nullptr);
        library = OverlayFont->face->glyph->library;
        blocksBefore = FontMemoryBlocks();
        ASSERT_EQ(OpenFromPath(library, "font of the test", 0, &font.face), 0);
    }

    void TearDown() override {
        OsdFont::advanceCache = nullptr;
        FT_Done_Face(font.face);
        EXPECT_EQ(FontMemoryBlocks(), blocksBefore);
        EXPECT_GT(blocksBefore, 0U);
    }

    FT_Library library = nullptr;
    std::size_t blocksBefore = 0;
    OsdFont font;
};

constexpr std::uint32_t kMissing = 0x4E2D; // a Han character, which a Latin screen font lacks

TEST_F(Font, AdvancesFollowTheFaceAndWrapAroundIn32Bits) {
    for (const std::uint32_t size : {32U, 10000U}) {
        ASSERT_EQ(font.setPixelSize(size), 0);
        ASSERT_EQ(FT_Load_Char(font.face, 'W', FT_LOAD_DEFAULT), 0);
        const std::int64_t product = std::int64_t{font.face->glyph->advance.x} * font.face->units_per_EM * 32;
        EXPECT_EQ(product > INT32_MAX, size == 10000U);
        EXPECT_EQ(font.advance('W'), static_cast<std::int32_t>(product) / 2048);
    }
    EXPECT_EQ(font.advance(kMissing), 0);
    const std::size_t blocks = FontMemoryBlocks(); // glyphs come and go, nothing piles up
    for (int i = 0; i < 1000; ++i) {
        (void)font.advance(32 + i % 95); // only the memory matters
    }
    EXPECT_EQ(FontMemoryBlocks(), blocks);
}

TEST_F(Font, SameSizeIsNotSetAgainAndKerningIsInFontUnits) {
    EXPECT_NE(OsdFont().setPixelSize(12), 0); // no face
    ASSERT_EQ(font.setPixelSize(10), 0);
    FT_Set_Pixel_Sizes(font.face, 0, 48); // behind the font's back: seen if it sets its size again
    EXPECT_EQ(font.setPixelSize(10), 0);
    EXPECT_EQ(font.face->size->metrics.y_ppem, 48);
    EXPECT_EQ(font.setPixelSize(11), 0);
    EXPECT_EQ(font.face->size->metrics.y_ppem, 11);
    EXPECT_LT(font.kerning('A', 'V'), -10); // pixels at this size would be -1
    EXPECT_EQ(font.kerning('A', kMissing), 0);
    EXPECT_EQ(font.kerning(kMissing, 'V'), 0);
}

TEST_F(Font, FallbackOpensLateAndTakesTheSize) {
    OsdFont lacking; // has no face at all, so no character either
    lacking.fallback = &font;
    lacking.pixelSize = 40;
    const std::int32_t advance = lacking.advance('A');
    EXPECT_GT(advance, 0);
    EXPECT_EQ(font.pixelSize, 40U);
    EXPECT_EQ(lacking.advance(kMissing), 0);

    const struct {
        FT_Library library;
        const char* path;
        decltype(&FT_New_Face) open;
    } rows[] = {
        {nullptr, "font of the test", OpenFromPath}, {library, nullptr, OpenFromPath},
        {library, "font of the test", nullptr},      {library, "another file", OpenFromPath},
        {library, "font of the test", OpenFromPath}, // opens
    };
    for (const auto& row : rows) {
        OsdFont late;
        late.openLibrary = row.library;
        late.openPath = row.path;
        late.openFace = row.open;
        lacking.fallback = &late;
        const bool opens = &row == std::end(rows) - 1;
        EXPECT_EQ(lacking.advance('A'), opens ? advance : 0);
        EXPECT_EQ(late.ensureOpen(), opens);
        FT_Done_Face(late.face);
    }
}

TEST_F(Font, CacheAnswersBeforeTheFace) {
    OsdAdvanceCache cache{};
    OsdFont::advanceCache = &cache;
    ASSERT_EQ(font.setPixelSize(32), 0);
    EXPECT_EQ(font.advance('A'), cache.advances['A']);
    EXPECT_GT(cache.advances['A'], 0);
    cache.advances['A'] = 4711;
    EXPECT_EQ(font.advance('A'), 4711);
    EXPECT_GT(font.advance(0x152), 0);       // beyond the table: from the face
    EXPECT_EQ(OsdFont().advance('A'), 4711); // the table is shared: no face is asked
}

TEST(FontMetrics, AscentsAreCorrectedOrHookedAndDescentsRoundedUp) {
    constexpr std::int32_t kStays = 4711;
    const auto twice = [](std::uint32_t size) { return static_cast<std::int32_t>(size * 2); };
    const struct {
        std::int16_t top, bottom;
        FT_UShort unitsPerEm; // 0: a bitmap face, which has no font units
        std::uint32_t size;
        std::int32_t ascent, descent;
        bool hook = false, face = true;
    } rows[] = {
        {800, -250, 1000, 24, 19, 6},    // 19200: corrected, as it comes out anyway
        {960, -250, 1000, 120, 115, 30}, // 115200
        {1600, -250, 1000, 24, 38, 6},   // 38400
        {2101, -250, 2048, 32, 30, 4},   // 67232: 32 without the correction
        {2101, -250, 1000, 32, 67, 8},   // the same height in another em
        {1000, -250, 1000, 25, 25, 7},   // 6.25
        {-100, -1, 1000, 25, -2, 1},     // truncated towards 0
        {999, 250, 1000, 10, 9, -1},     // a box above the baseline: -2.5 truncated, and one more
        {32000, -32000, 1000, 100000, -1094967, -1094966}, // beyond 32 bits
        {800, -250, 1000, 25, 50, 7, true},                // the hook answers for the ascent only
        {800, -250, 1000, 25, 50, kStays, true, false},
        {800, -250, 1000, 25, kStays, kStays, false, false},
        {800, -250, 0, 25, kStays, kStays},
    };
    for (const auto& row : rows) {
        FT_FaceRec face{};
        face.bbox = {0, row.bottom, 0, row.top};
        face.units_per_EM = row.unitsPerEm;
        OsdFont font;
        font.face = row.face ? &face : nullptr;
        font.ascentHook = row.hook ? +twice : nullptr;
        std::int32_t ascent = kStays, descent = kStays;
        font.verticalMetrics(row.size, ascent, descent);
        EXPECT_EQ(ascent, row.ascent) << row.top << " x " << row.size;
        EXPECT_EQ(descent, row.descent) << row.bottom << " x " << row.size;
    }
}

} // namespace
} // namespace vistrame
