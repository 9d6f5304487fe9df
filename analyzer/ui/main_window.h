#pragma once

#include <memory>

#include <windows.h>

#include "analyzer/session/session.h"
#include "analyzer/ui/command_bar.h"
#include "analyzer/ui/player_area.h"
#include "analyzer/ui/programme_list.h"
#include "analyzer/ui/settings_panel.h"
#include "analyzer/ui/status_line.h"

namespace vistrame {

// The analyzer's window: programmes and settings on the left, the player on the right, buttons and a status
// line below.
//
// It translates what its user does into actions of the session and shows what the session says.
//
// Threads    the thread that calls Run, which becomes its message loop.
// Ownership  borrows stream file, options and log; owns the session while it runs.
class MainWindow {
public:
    MainWindow(const StreamFile& file, const Options& options, EventLog& log);
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;
    ~MainWindow();

    // Until the window is closed, or the script has ended. The session's result.
    Outcome Run(Script script);

    // After Run: what the session found, and another file that was chosen instead of ending (empty: none).
    const ReportFacts& Facts() const { return facts_; }
    const std::string& NextFile() const { return nextFile_; }

private:
    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM w, LPARAM l);
    LRESULT OnMessage(UINT message, WPARAM w, LPARAM l);

    bool Create();
    void CreateControls();
    void Layout();
    void Redraw() const;
    void OnCommand(int id, int notification);
    void OnTick();
    void OnEnded();
    void SizeArea(int width, int height);
    void OnAnnounced(HWND player);
    void StoreSettings();
    void OpenOther();
    void Tell(const std::string& text, const wchar_t* title);

    const StreamFile& file_;
    const Options& options_;
    EventLog& log_;
    HFONT font_;
    const DWORD style_; // of the window; no frame when only a script looks at it
    HWND window_ = nullptr;
    HWND status_ = nullptr;
    PlayerArea area_{[this](HWND player) { OnAnnounced(player); }};
    ProgrammeList list_;
    SettingsPanel settings_;
    CommandBar commands_;
    StatusLine statusLine_;
    std::unique_ptr<Session> session_;
    ReportFacts facts_;
    Outcome result_;
    std::string nextFile_;
    int ownBoxes_ = 0;         // open now; each keeps this window disabled
    bool redrawAgain_ = false; // at the next tick
};

} // namespace vistrame
