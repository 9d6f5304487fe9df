#pragma once

#include <windows.h>

namespace vistrame {

// Fills `area` with seven vertical bars, white to blue: the test picture of a player without an analyzer. The
// last bar also takes what seven equal widths leave over.
void PaintColourBars(HDC context, const RECT& area);

} // namespace vistrame
