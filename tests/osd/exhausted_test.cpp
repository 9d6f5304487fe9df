// The overlay in a process that has no room left for its canvas: it stays off.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <windows.h>

#include "graph/player_graph.h"
#include "osd/overlay_drawing.h"
#include "osd/overlay_redraw.h"
#include "osd/overlay_size.h"
#include "osd/overlay_surface.h"
#include "tests/osd/fake_surface.h"
#include "tests/support/player_fakes.h"

namespace vistrame {
namespace {

// Takes every piece of address space that is large enough for an overlay of 8,294,400 bytes; smaller ones are left
// for everything else.
class NoRoomForAnOverlay {
public:
    NoRoomForAnOverlay() {
        constexpr SIZE_T kSmallest = kOverlayStride * kOverlayHeight / 65536 * 65536;
        for (SIZE_T size = SIZE_T{1} << 30; size >= kSmallest;
             size = size > 2 * kSmallest ? size / 2 : size - 65536) {
            while (void* piece = VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS)) {
                pieces_.push_back(piece);
            }
        }
    }
    NoRoomForAnOverlay(const NoRoomForAnOverlay&) = delete;
    NoRoomForAnOverlay& operator=(const NoRoomForAnOverlay&) = delete;
    ~NoRoomForAnOverlay() {
        for (void* piece : pieces_) {
            VirtualFree(piece, 0, MEM_RELEASE);
        }
    }

private:
    std::vector<void*> pieces_;
};

TEST(ExhaustedOverlay, WithoutACanvasTheOverlayStaysOff) {
    test::Journal journal;
    test::FakeMixer mixer(journal);
    test::FakeSurface surface;
    OverlaySurface = &surface;
    ThePlayerGraph().mixerBitmap = &mixer;
    {
        const NoRoomForAnOverlay noRoom;
        RedrawOverlay();
        EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr);
        RedrawOverlay();
    }
    const OsdFont* font = OverlayFont;
    RedrawOverlay(); // initialised once, whatever came of it
    EXPECT_EQ(OverlayCanvas.pixelsPtr(), nullptr);
    EXPECT_EQ(OverlayFont, font);
    EXPECT_NE(font->face, nullptr);
    EXPECT_EQ(surface.locks, 0);
    EXPECT_EQ(journal.Take(), std::vector<std::string>{});
    ThePlayerGraph().mixerBitmap.Reset();
    OverlaySurface = nullptr;
}

} // namespace
} // namespace vistrame
