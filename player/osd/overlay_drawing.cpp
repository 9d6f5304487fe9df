#include "player/osd/overlay_drawing.h"

#include FT_MODULE_H

#include "player/osd/font_memory.h"
#include "player/osd/overlay_size.h"
#include "player/osd/screen_font.h"

namespace vistrame {

OsdCanvasArgb32 OverlayCanvas;
OsdFont* OverlayFont = nullptr;

namespace {

FT_Library fontLibrary = nullptr;

// Failures leave the library or the face null, which every later call answers with an error of its own.
void Start() {
    (void)FT_New_Library(FontMemory(), &fontLibrary);
    FT_Add_Default_Modules(fontLibrary);
    (void)OverlayCanvas.create(kOverlayWidth, kOverlayHeight); // the caller looks at the buffer
    OverlayFont = new OsdFont;
    (void)FT_New_Memory_Face(fontLibrary, ScreenFont().data(), static_cast<FT_Long>(ScreenFont().size()), 0,
                             &OverlayFont->face);
}

} // namespace

bool StartOverlayDrawing() {
    static bool started = false;
    if (!started) {
        started = true;
        Start();
    }
    return OverlayCanvas.pixelsPtr() != nullptr;
}

} // namespace vistrame
