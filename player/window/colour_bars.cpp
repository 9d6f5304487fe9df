#include "player/window/colour_bars.h"

#include <array>

namespace vistrame {
namespace {

constexpr std::array kBars = {RGB(0xFF, 0xFF, 0xFF), RGB(0xFF, 0xFF, 0x00), RGB(0x00, 0xFF, 0xFF),
                              RGB(0x00, 0xFF, 0x00), RGB(0xFF, 0x00, 0xFF), RGB(0xFF, 0x00, 0x00),
                              RGB(0x00, 0x00, 0xFF)};

} // namespace

void PaintColourBars(HDC context, const RECT& area) {
    SetBkMode(context, TRANSPARENT);
    const LONG barWidth = (area.right - area.left) / static_cast<LONG>(kBars.size());
    RECT rest = area; // each bar reaches to the right edge; the next one paints over its right part
    for (const COLORREF colour : kBars) {
        HBRUSH brush = CreateSolidBrush(colour);
        FillRect(context, &rest, brush);
        DeleteObject(brush);
        rest.left += barWidth;
    }
}

} // namespace vistrame
