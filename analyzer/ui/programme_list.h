#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "analyzer/stream/stream_file.h"

namespace vistrame {

// List of a stream's programmes: each with its number and name, and a line per elementary stream below.
//
// Units      pixels.
// Threads    the window's.
// Ownership  the list is a child of the parent and goes with it; owns its bold font.
class ProgrammeList {
public:
    ProgrammeList() = default;
    ProgrammeList(const ProgrammeList&) = delete;
    ProgrammeList& operator=(const ProgrammeList&) = delete;
    ~ProgrammeList();

    void Create(HWND parent, int id, HFONT font, const StreamFile& file);
    HWND Window() const { return window_; }

    // What the user has chosen, if anything.
    std::optional<std::uint16_t> Chosen() const;
    // Marks the programme that is played.
    void Show(std::optional<std::uint16_t> programme);

    // The parent's WM_MEASUREITEM and WM_DRAWITEM for this list.
    void Measure(MEASUREITEMSTRUCT& item) const;
    void Draw(const DRAWITEMSTRUCT& item) const;

private:
    struct Row {
        std::uint16_t number = 0;
        std::wstring title;
        std::vector<std::wstring> streams;
    };

    HWND window_ = nullptr;
    HFONT font_ = nullptr; // the parent's
    HFONT bold_ = nullptr;
    std::vector<Row> rows_;
    std::optional<std::uint16_t> shown_;
};

} // namespace vistrame
