// What the overlay is drawn on and with. Nothing draws yet: the canvas stays transparent.
//
// Threads    the thread that redraws the overlay.
// Ownership  the font library, the face and the font live until the process ends; the canvas frees its buffer
//            then.
// Errors     silent: a font that does not open has no face, a canvas that gets no memory keeps the overlay
//            off.
#pragma once

#include "player/osd/osd_canvas_argb32.h"
#include "player/osd/osd_font.h"

namespace vistrame {

extern OsdCanvasArgb32 OverlayCanvas; // without a buffer until the first start
extern OsdFont* OverlayFont;          // the compiled-in screen font; null until then

// The first call starts the font library, makes the canvas and opens the font; later ones only answer. True:
// the canvas has a buffer.
bool StartOverlayDrawing();

} // namespace vistrame
