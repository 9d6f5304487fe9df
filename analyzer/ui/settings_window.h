#pragma once

#include <functional>
#include <vector>

#include <windows.h>

#include "analyzer/session/decoder_choices.h"
#include "analyzer/session/session.h"

namespace vistrame {

// The player's settings in words, each with a line of what it means, in a window of its own. All of them are
// read when the player starts, so applying them starts it again.
//
// Units      pixels.
// Threads    the window's.
// Ownership  a window owned by the main window; its fonts are its own.
class SettingsWindow {
public:
    // `applied` is called when the settings have been stored.
    SettingsWindow(const Session::Launch& launch, std::function<void(const Session::Launch&)> applied)
        : launch_(launch), applied_(std::move(applied)) {}
    SettingsWindow(const SettingsWindow&) = delete;
    SettingsWindow& operator=(const SettingsWindow&) = delete;
    ~SettingsWindow();

    // Shows it with what is stored now.
    void Open(HWND owner);
    // Null while it has never been opened.
    HWND Window() const { return window_; }

private:
    struct Field {
        HWND label = nullptr;
        HWND field = nullptr;
        HWND about = nullptr;
        std::vector<SettingChoice> choices; // of a list; none: a line to type in
    };

    static LRESULT CALLBACK Thunk(HWND window, UINT message, WPARAM w, LPARAM l);
    LRESULT OnMessage(UINT message, WPARAM w, LPARAM l);
    bool Create(HWND owner);
    void CreateFields();
    void Layout();
    void OnDpi(int dpi, const RECT& place);
    void Load();
    void Apply();
    void Tell(const std::wstring& text) const;

    Session::Launch launch_;
    const std::function<void(const Session::Launch&)> applied_;
    HWND window_ = nullptr;
    HWND said_ = nullptr; // the line beside the buttons
    HWND apply_ = nullptr;
    HWND close_ = nullptr;
    int dpi_ = 96;
    HFONT font_ = nullptr;
    HFONT bold_ = nullptr;
    std::vector<Field> fields_; // as the rows of the table
};

} // namespace vistrame
