#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

#include "analyzer/measure/multiplex_monitor.h"

namespace vistrame {

// List of a multiplex's programmes: name, number, rate, state, codings, PIDs. Choosing a row, by click, arrow
// key, the first letters of its name or the digits of its number, zaps to it.
//
// Units      pixels.
// Threads    the window's.
// Ownership  the list is a child of the parent and goes with it.
class ProgrammeList {
public:
    // `chosen` is called when the user has chosen a programme, also the one that plays (a double click).
    explicit ProgrammeList(std::function<void(std::uint16_t programme)> chosen)
        : chosen_(std::move(chosen)) {}
    ProgrammeList(const ProgrammeList&) = delete;
    ProgrammeList& operator=(const ProgrammeList&) = delete;

    void Create(HWND parent, int id, HFONT font);
    HWND Window() const { return window_; }
    // Its columns for another screen, as its user has made them.
    void SetDpi(int dpi);

    // What is sent now, behind the programmes that were `known` before; those that are not sent say so.
    void Show(const std::vector<Programme>& known, const MultiplexReading& reading);
    // Marks the programme that plays.
    void Mark(std::optional<std::uint16_t> programme);

    // The parent's WM_NOTIFY for this list.
    void OnNotify(const NMHDR& notice);
    // A digit was typed into it; the number counts when no further one can follow, or OnTick has waited.
    void OnDigit(int digit);
    void OnTick();
    // "Programme 20_" while digits are typed.
    std::wstring Typed() const;

private:
    static constexpr std::size_t kColumns = 6;
    struct Row {
        std::uint16_t number = 0;
        std::array<std::wstring, kColumns> cells;
    };

    std::vector<Row> RowsOf(const std::vector<Programme>& known, const MultiplexReading& reading) const;
    void Fill(std::vector<Row> rows);
    void Select(std::uint16_t number);
    void Zap(std::uint16_t number);

    const std::function<void(std::uint16_t)> chosen_;
    HWND window_ = nullptr;
    int dpi_ = 96;
    std::vector<Row> rows_;
    std::optional<std::uint16_t> marked_;
    bool filling_ = false; // what changes is not the user's choice
    std::string digits_;
    double digitAt_ = 0;
};

} // namespace vistrame
