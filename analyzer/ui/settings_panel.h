#pragma once

#include <array>

#include <windows.h>

#include "analyzer/session/setting_names.h"

namespace vistrame {

// Labels and fields for the player's settings, and the button that stores them.
//
// Units      pixels.
// Threads    the window's.
// Ownership  its windows are children of the parent and go with it.
class SettingsPanel {
public:
    // `button` is the identifier under which the parent is notified of the button.
    void Create(HWND parent, int button, HFONT font);
    // The parent redraws afterwards.
    void Place(int x, int y, int width);
    static int Height();

    // Shows what the registry holds.
    void Load();
    // Stores every field. Empty: done; otherwise what is wrong, and nothing was stored.
    std::string Store() const;

private:
    struct Field {
        HWND label = nullptr;
        HWND edit = nullptr;
    };

    std::array<Field, kSettingRows.size()> fields_;
    HWND button_ = nullptr;
};

} // namespace vistrame
