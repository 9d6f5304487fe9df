#pragma once

#include <memory>

#include <windows.h>

#include "analyzer/session/session.h"
#include "analyzer/ui/audio_choice.h"
#include "analyzer/ui/commands.h"
#include "analyzer/ui/measure_view.h"
#include "analyzer/ui/overlay_mark.h"
#include "analyzer/ui/player_area.h"
#include "analyzer/ui/player_notice.h"
#include "analyzer/ui/position_bar.h"
#include "analyzer/ui/programme_list.h"
#include "analyzer/ui/settings_window.h"
#include "analyzer/ui/status_line.h"

namespace vistrame {

// The analyzer's window: programmes, sounds and measurements on the left, the player on the right, position,
// buttons and a status line below.
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
    // What the window itself does with a key before its controls see it.
    bool OnKey(const MSG& message);

    // main_window_layout.cpp
    bool Create();
    void CreateControls();
    void Layout();
    void Redraw() const;
    void SizeArea(int width, int height);
    void SwitchFullScreen();
    void ShowOthers(bool shown) const;
    void OnDpi(int dpi, const RECT& place);

    void OnCommand(int id, int notification);
    void OnAnnounced(HWND player);
    void OnTick();
    void ShowProgramme(const Session::Status& status, const MultiplexReading& reading);
    void OnNotice(const Session::Notice& notice);
    void OnEnded();
    void Choose(std::uint16_t programme);
    void StartAgain();
    void ApplySettings(const Session::Launch& launch);
    void MarkElement(int id);
    void SaveScreenshot();
    void OpenOther(const std::string& path);
    void OpenByDialog(std::string (*ask)(HWND owner));
    void OnDrop(WPARAM drop);
    void ShowMenu();
    void SetFit(PlayerArea::Fit fit);

    const StreamFile& file_;
    const Options& options_;
    EventLog& log_;
    const bool forPeople_; // a window to be used; otherwise only a script looks at it
    HFONT font_ = nullptr;
    HFONT bold_ = nullptr;
    HWND window_ = nullptr;
    HWND status_ = nullptr;
    PlayerArea area_{{.announced = [this](HWND player) { OnAnnounced(player); },
                      .doubleClick = [this] { SwitchFullScreen(); }}};
    ProgrammeList list_{[this](std::uint16_t programme) { Choose(programme); }};
    AudioChoice audio_;
    MeasureView measures_;
    OverlayMark mark_;
    PositionBar position_;
    CommandButtons buttons_;
    PlayerNotice notice_;
    SettingsWindow settings_;
    StatusLine statusLine_;
    std::unique_ptr<Session> session_;
    ReportFacts facts_;
    Outcome result_;
    std::string nextFile_;
    std::string said_; // in the status line instead of what was done last
    PlayerArea::Fit fit_;
    std::optional<std::uint16_t> wanted_; // the programme chosen last
    OverlayElement element_;
    int ownBoxes_ = 0;         // open now; each keeps this window disabled
    bool redrawAgain_ = false; // at the next tick
    bool fullScreen_ = false;
    WINDOWPLACEMENT before_{}; // full screen
};

} // namespace vistrame
