#pragma once

#include <optional>
#include <vector>

#include <windows.h>

#include "analyzer/stream/selection.h"

namespace vistrame {

// The sounds of the programme that plays, with their languages, to choose from.
//
// Units      pixels.
// Threads    the window's.
// Ownership  its windows are children of the parent and go with it.
class AudioChoice {
public:
    // `id` is the identifier under which the parent is notified of the list.
    void Create(HWND parent, int id, HFONT font);
    // The parent redraws afterwards.
    void Place(int x, int y, int width) const;
    void Show(const std::vector<ElementaryStream>& audios, Pid playing);
    // What the user has chosen, if anything.
    std::optional<Pid> Chosen() const;

private:
    HWND label_ = nullptr;
    HWND list_ = nullptr;
    std::vector<ElementaryStream> audios_;
};

} // namespace vistrame
