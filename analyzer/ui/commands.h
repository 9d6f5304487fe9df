// What the window can be asked for: one table for its buttons, its menu and its keys.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <windows.h>

#include "analyzer/session/script.h"
#include "analyzer/ui/player_area.h"

namespace vistrame {

// Identifiers of WM_COMMAND.
enum CommandId : int {
    kOpen = 200,
    kOpenAddress,
    kSettings,
    kMenu,
    kRun,
    kPause,
    kStop,
    kDiscontinuity,
    kUnmute,
    kShowOverlay,
    kMoveOverlay,
    kRefreshOverlay,
    kHideOverlay,
    kQuitPlayer,
    kAgain,
    kFullScreen,
    kScreenshot,
    kFitShape,
    kFitWhole,
    kFitFill,
    kFirstRecent = 300, // and the numbers behind it
};

// The buttons: those about the player in a row, the others beside each other. Placed as the parent wishes.
class CommandButtons {
public:
    void Create(HWND parent, HFONT font);
    // Units: pixels. The parent redraws afterwards.
    void PlaceOwn(int x, int y, int width) const;
    void PlacePlayers(int x, int y, int width) const;
    int Height() const;

private:
    void Place(bool players, int x, int y, int width) const;

    HWND parent_ = nullptr;
};

// The keys, to be given to TranslateAccelerator; null: there are none.
HACCEL MakeKeys();

// Shows everything as a menu below the rectangle (screen coordinates). The identifier that was chosen, 0:
// none.
int ChooseFromMenu(HWND owner, const RECT& below, const std::vector<std::string>& recent,
                   PlayerArea::Fit fit);

// The command that scripts call so; 0: none.
int CommandNamed(std::string_view name);

// The overlay's element that the commands show, as the player was asked for it.
struct OverlayElement {
    unsigned step = 0; // how often it was moved
    bool shown = false;

    // Overlay pixels.
    POINT Place() const;
};

// What the player is asked for by a command, one after the other; nothing: it is not the player's.
std::vector<Action> ActionsOf(int id, OverlayElement& element);

} // namespace vistrame
