// Hands the canvas to the video renderer.
//
// Threads    main thread only: paint handler, timer and commands call it.
// Errors     silent: without a surface, a renderer or a lock on the surface the redraw is skipped.
#pragma once

namespace vistrame {

// Copies the whole canvas into OverlaySurface and passes it to the renderer. The first call with a surface
// starts the font library and allocates the canvas.
void RedrawOverlay();

} // namespace vistrame
