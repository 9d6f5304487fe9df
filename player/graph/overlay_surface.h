// The Direct3D surface that carries the overlay to the video renderer, and how the renderer is to show it.
//
// Units      1920 x 1080 pixels A8R8G8B8, the same layout as the canvas.
// Threads    main thread only.
// Ownership  each set-up makes a fresh Direct3D object, device and surface. The two sets before it are kept,
//            since an earlier graph's renderer may still refer to them; what is older goes once a later graph
//            is built.
// Errors     reported (117, 118), and what was made so far is released again.
#pragma once

#include <windows.h>
#include <d3d9.h>
#include <dshow.h>
#include <vmr9.h>

namespace vistrame {

extern IDirect3DSurface9* OverlaySurface;  // null until the first successful set-up
extern VMR9AlphaBitmap OverlayAlphaBitmap; // filled by the set-up, handed to the renderer by the redraw

// 1: surface cleared to transparent and record filled; 0: reported.
int SetUpOverlaySurface(HWND focusWindow);

// After each successful build: lets go of all but the newest set and the two before it.
void LetGoOfOldOverlays();

} // namespace vistrame
