#include "analyzer/session/player_box.h"

#include "analyzer/base/utf8.h"

namespace vistrame {

namespace {

struct Search {
    DWORD processId;
    HWND box;
};

BOOL CALLBACK LookAt(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<Search*>(parameter);
    DWORD owner = 0;
    char name[16];
    (void)GetWindowThreadProcessId(window, &owner); // leaves 0 for a window that is gone
    if (owner != search.processId || !IsWindowVisible(window) ||
        GetClassNameA(window, name, sizeof name) == 0 ||
        std::string_view(name) != "#32770") { // the platform's class of dialogs
        return TRUE;
    }
    search.box = window;
    return FALSE;
}

HWND FindBox(DWORD processId) {
    Search search{.processId = processId, .box = nullptr};
    (void)EnumWindows(LookAt, reinterpret_cast<LPARAM>(&search)); // answers false also when LookAt ends it
    return search.box;
}

} // namespace

std::optional<std::string> PlayerBoxText(DWORD processId) {
    HWND box = processId != 0 ? FindBox(processId) : nullptr;
    if (box == nullptr) {
        return std::nullopt;
    }
    std::string text;
    for (HWND child = GetWindow(box, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        wchar_t name[16];
        wchar_t words[512];
        DWORD_PTR length = 0;
        // Another process's texts come by message only.
        if (GetClassNameW(child, name, 16) != 0 && std::wstring_view(name) == L"Static" &&
            SendMessageTimeoutW(child, WM_GETTEXT, 512, reinterpret_cast<LPARAM>(words), SMTO_ABORTIFHUNG,
                                500, &length) != 0) {
            text += Narrow(std::wstring(words, length));
        }
    }
    return text;
}

void DismissPlayerBox(DWORD processId) {
    if (HWND box = FindBox(processId)) {
        (void)PostMessageA(box, WM_COMMAND, IDOK, 0); // a box that is gone needs no press
    }
}

} // namespace vistrame
