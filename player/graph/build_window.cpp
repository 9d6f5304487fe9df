// Where the picture is shown: the renderer's window becomes a child that fills the player window.

#include "player/graph/graph_build.h"

#include <oleauto.h>

#include "player/graph/com.h"

namespace vistrame {

void GraphBuild::EmbedVideoWindow() {
    player_.videoWindow = Query<IVideoWindow>(player_.graph);
    if (!player_.videoWindow) {
        return;
    }
    RECT area{};
    (void)GetClientRect(wiring_.OwnerWindow(),
                        &area); // starts at 0, 0, so right and bottom are width and height
    const auto owner = reinterpret_cast<OAHWND>(wiring_.OwnerWindow());
    (void)player_.videoWindow->put_Owner(owner);
    (void)player_.videoWindow->put_WindowStyle(WS_CHILD | WS_CLIPSIBLINGS);
    (void)player_.videoWindow->put_MessageDrain(owner); // mouse and keyboard
    (void)player_.videoWindow->SetWindowPosition(area.left, area.top, area.right, area.bottom);
    BSTR caption = SysAllocString(L"Caption");
    (void)player_.videoWindow->put_Caption(caption);
    SysFreeString(caption);
}

} // namespace vistrame
