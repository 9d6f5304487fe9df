#include "analyzer/ui/settings_panel.h"

#include <vector>

#include "analyzer/base/utf8.h"
#include "analyzer/session/player_settings.h"

namespace vistrame {

namespace {

constexpr int kRowHeight = 24;
constexpr int kFieldHeight = 21;
constexpr int kButtonHeight = 28;
constexpr int kLabelWidth = 150;

HWND Child(HWND parent, const wchar_t* kind, const std::string& text, DWORD style, int id, HFONT font) {
    HWND window =
        CreateWindowExW(0, kind, Widen(text).c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    (void)SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE); // answers nothing
    return window;
}

std::string TextOf(HWND window) {
    wchar_t text[512];
    const int length = GetWindowTextW(window, text, 512);
    return Narrow(std::wstring(text, static_cast<std::size_t>(length)));
}

} // namespace

void SettingsPanel::Create(HWND parent, int button, HFONT font) {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const SettingRow& row = kSettingRows[i];
        fields_[i].label = Child(parent, L"STATIC", std::string(row.name), SS_CENTERIMAGE, 0, font);
        fields_[i].edit =
            Child(parent, L"EDIT", "", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL | (row.isText ? 0 : ES_RIGHT),
                  0, font);
    }
    button_ = Child(parent, L"BUTTON", "Store, restart player", WS_TABSTOP, button, font);
    Load();
}

int SettingsPanel::Height() {
    return static_cast<int>(kSettingRows.size()) * kRowHeight + kButtonHeight + 6;
}

void SettingsPanel::Place(int x, int y, int width) {
    for (const Field& field : fields_) {
        (void)MoveWindow(field.label, x, y, kLabelWidth, kFieldHeight, FALSE); // a lost move shows
        (void)MoveWindow(field.edit, x + kLabelWidth, y, width - kLabelWidth, kFieldHeight, FALSE);
        y += kRowHeight;
    }
    (void)MoveWindow(button_, x, y + 4, width, kButtonHeight, FALSE);
}

void SettingsPanel::Load() {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        // Stays empty at worst.
        (void)SetWindowTextW(fields_[i].edit, Widen(LoadSetting(kSettingRows[i])).c_str());
    }
}

std::string SettingsPanel::Store() const {
    std::vector<SettingChange> changes;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const SettingRow& row = kSettingRows[i];
        const std::string text = TextOf(fields_[i].edit);
        const auto change = ParseSetting(row.name, text);
        if (!change) {
            return std::string(row.name) + ": \"" + text + "\" is no number";
        }
        // An empty folder is left out, so that the player keeps its own.
        if (!row.isText || !text.empty()) {
            changes.push_back(*change);
        }
    }
    for (const SettingChange& change : changes) {
        if (!StoreSetting(change)) {
            return std::string(change.row.name) + " cannot be stored";
        }
    }
    return {};
}

} // namespace vistrame
