#pragma once

#include <string>
#include <string_view>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "player/osd/osd_canvas_argb32.h"

namespace vistrame {

// Draws lines of text, white on a dark panel, into an otherwise transparent picture.
//
// Units      pixels; the text's height follows the picture's. Bytes of the text are characters of Latin-1;
//            lines end in "\n" or "\r\n".
// Threads    one at a time.
// Ownership  a font library and a face of its own.
// Errors     without a font the picture stays transparent. What does not fit is cut off at the picture's
//            edges.
class TextPicture {
public:
    TextPicture();
    TextPicture(const TextPicture&) = delete;
    TextPicture& operator=(const TextPicture&) = delete;
    ~TextPicture();

    // Straight alpha. Clears the canvas first, which must have a buffer.
    void Draw(std::string_view text, OsdCanvasArgb32* canvas);

private:
    struct Metrics {
        int line;   // from baseline to baseline
        int ascent; // of the line above its baseline
    };
    Metrics SetHeight(int pixels);
    int Width(std::string_view line);
    void DrawLine(std::string_view line, int x, int baseline, OsdCanvasArgb32* canvas);

    FT_Library library_ = nullptr;
    FT_Face face_ = nullptr;
};

} // namespace vistrame
