#include "filters/osd_source/text_picture.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "player/osd/screen_font.h"

namespace vistrame {

namespace {

constexpr int kLinesPerPicture = 36; // 30 pixels at 1080 lines: read from an armchair
constexpr std::uint32_t kPanelAlpha = 160;

// White in front of the black panel: what alpha and grey look the same as glyph over panel.
std::uint32_t GlyphPixel(std::uint32_t coverage) {
    const std::uint32_t alpha = coverage + (255 - coverage) * kPanelAlpha / 255;
    const std::uint32_t grey = 255 * coverage / alpha; // alpha is never below the panel's
    return alpha << 24 | grey << 16 | grey << 8 | grey;
}

std::vector<std::string_view> LinesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        lines.push_back(line);
    }
    return lines;
}

} // namespace

TextPicture::TextPicture() {
    if (FT_Init_FreeType(&library_) != 0) {
        library_ = nullptr;
    } else if (FT_New_Memory_Face(library_, ScreenFont().data(), static_cast<FT_Long>(ScreenFont().size()), 0,
                                  &face_) != 0) {
        face_ = nullptr;
    }
}

TextPicture::~TextPicture() {
    if (library_ != nullptr) {
        (void)FT_Done_FreeType(library_); // takes the face along
    }
}

TextPicture::Metrics TextPicture::SetHeight(int pixels) {
    (void)FT_Set_Pixel_Sizes(face_, 0, static_cast<FT_UInt>(pixels)); // an outline font takes every size
    const FT_Size_Metrics& metrics = face_->size->metrics;            // 26.6 fixed point
    return {static_cast<int>(metrics.height >> 6), static_cast<int>(metrics.ascender >> 6)};
}

int TextPicture::Width(std::string_view line) {
    FT_Pos width = 0;
    for (const char character : line) {
        if (FT_Load_Char(face_, static_cast<unsigned char>(character), FT_LOAD_DEFAULT) == 0) {
            width += face_->glyph->advance.x;
        }
    }
    return static_cast<int>(width >> 6);
}

void TextPicture::DrawLine(std::string_view line, int x, int baseline, OsdCanvasArgb32* canvas) {
    for (const char character : line) {
        if (FT_Load_Char(face_, static_cast<unsigned char>(character), FT_LOAD_RENDER) != 0) {
            continue;
        }
        const FT_GlyphSlotRec& glyph = *face_->glyph;
        const FT_Bitmap& bitmap = glyph.bitmap;
        for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
            const std::uint8_t* coverage = bitmap.buffer + std::ptrdiff_t{row} * bitmap.pitch;
            for (int column = 0; column < static_cast<int>(bitmap.width); ++column) {
                if (coverage[column] != 0) {
                    canvas->setPixel(x + glyph.bitmap_left + column, baseline - glyph.bitmap_top + row,
                                     GlyphPixel(coverage[column]));
                }
            }
        }
        x += static_cast<int>(glyph.advance.x >> 6);
    }
}

void TextPicture::Draw(std::string_view text, OsdCanvasArgb32* canvas) {
    std::memset(canvas->pixelsPtr(), 0, canvas->bufferSize());
    const std::vector<std::string_view> lines = LinesOf(text);
    if (face_ == nullptr || lines.empty()) {
        return;
    }
    const int height = std::max(canvas->height() / kLinesPerPicture, 8);
    const Metrics metrics = SetHeight(height);
    int width = 0;
    for (const std::string_view line : lines) {
        width = std::max(width, Width(line));
    }
    // In from the corner by what televisions cut off, and a margin inside the panel.
    const int left = canvas->width() / 20;
    const int top = canvas->height() / 20;
    const int margin = height / 2;
    canvas->fillRect(left, top, width + 2 * margin,
                     static_cast<int>(lines.size()) * metrics.line + 2 * margin, 0, 0, 0, kPanelAlpha);
    int baseline = top + margin + metrics.ascent;
    for (const std::string_view line : lines) {
        DrawLine(line, left + margin, baseline, canvas);
        baseline += metrics.line;
    }
}

} // namespace vistrame
