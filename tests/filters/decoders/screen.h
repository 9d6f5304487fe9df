#pragma once

#include <windows.h>
#include <dshow.h>

namespace vistrame::test {

// Expects a picture of the streams (see make_streams.sh) on the screen, right side up and in its colours, where the
// renderer's window is.
void ExpectPictureOnScreen(IVideoWindow* window);

} // namespace vistrame::test
