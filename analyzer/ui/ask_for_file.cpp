#include "analyzer/ui/ask_for_file.h"

#include <cwchar>
#include <initializer_list>
#include <vector>

#include <commdlg.h>

#include "analyzer/base/utf8.h"
#include "analyzer/source/address.h"
#include "analyzer/ui/remembered.h"

namespace vistrame {

std::string AskForFile(HWND owner) {
    wchar_t path[1024] = L"";
    std::wstring folder;
    for (const std::string& recent : RecentFiles()) {
        if (folder.empty() && !IsLive(recent)) {
            folder = FilePath(recent).parent_path().wstring();
        }
    }
    OPENFILENAMEW ask{};
    ask.lStructSize = sizeof ask;
    ask.hwndOwner = owner;
    ask.lpstrFilter = L"Transport streams\0*.ts;*.m2ts;*.mts;*.trp;*.mpg\0All files\0*.*\0";
    ask.lpstrFile = path;
    ask.nMaxFile = 1024;
    ask.lpstrInitialDir = folder.c_str(); // empty: the system's choice
    ask.Flags = OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
    return GetOpenFileNameW(&ask) ? Narrow(path) : std::string();
}

namespace {

constexpr WORD kAddressId = 10;

INT_PTR CALLBACK OnAddress(HWND dialog, UINT message, WPARAM w, LPARAM l) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, DWLP_USER, l);
        const auto& address = *reinterpret_cast<const std::wstring*>(l);
        (void)SetDlgItemTextW(dialog, kAddressId, address.c_str()); // stays empty at worst
        return TRUE;
    }
    if (message == WM_COMMAND && (LOWORD(w) == IDOK || LOWORD(w) == IDCANCEL)) {
        wchar_t text[256] = L"";
        (void)GetDlgItemTextW(dialog, kAddressId, text, 256);
        *reinterpret_cast<std::wstring*>(GetWindowLongPtrW(dialog, DWLP_USER)) = text;
        (void)EndDialog(dialog, LOWORD(w) == IDOK);
        return TRUE;
    }
    return FALSE;
}

// A dialog as the system reads it: 16-bit words, each item on a boundary of two.
class DialogTemplate {
public:
    DialogTemplate(const wchar_t* title, short width, short height) {
        constexpr DWORD kStyle =
            WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER | DS_SHELLFONT;
        Put({LOWORD(kStyle), HIWORD(kStyle), 0, 0, 0, 0, 0, Word(width), Word(height), 0, 0});
        Put(title);
        Put({9}); // points
        Put(L"MS Shell Dlg");
    }
    void Add(WORD kind, DWORD style, RECT place, WORD id, const wchar_t* text) {
        words_.resize((words_.size() + 1) / 2 * 2);
        style |= WS_CHILD | WS_VISIBLE;
        Put({LOWORD(style), HIWORD(style), 0, 0, Word(place.left), Word(place.top), Word(place.right),
             Word(place.bottom), id, 0xFFFF, kind});
        Put(text);
        Put({0});
        ++words_[4];
    }
    const DLGTEMPLATE* Get() const { return reinterpret_cast<const DLGTEMPLATE*>(words_.data()); }

private:
    static WORD Word(LONG value) { return static_cast<WORD>(value); }
    void Put(std::initializer_list<WORD> words) { words_.insert(words_.end(), words); }
    void Put(const wchar_t* text) { words_.insert(words_.end(), text, text + std::wcslen(text) + 1); }

    std::vector<WORD> words_;
};

} // namespace

std::string AskForAddress(HWND owner) {
    constexpr WORD kButton = 0x80; // the system's numbers of its kinds of controls
    constexpr WORD kEdit = 0x81;
    constexpr WORD kStatic = 0x82;
    DialogTemplate dialog(L"Open an address", 230, 62);
    dialog.Add(kStatic, 0, {8, 8, 214, 9}, 0, L"&Address, UDP or RTP (udp://239.1.2.3:1234, udp://:1234)");
    dialog.Add(kEdit, WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, {8, 20, 214, 13}, kAddressId, L"");
    dialog.Add(kButton, WS_TABSTOP | BS_DEFPUSHBUTTON, {118, 42, 50, 14}, IDOK, L"Open");
    dialog.Add(kButton, WS_TABSTOP, {172, 42, 50, 14}, IDCANCEL, L"Cancel");
    std::wstring address = L"udp://";
    const INT_PTR answer = DialogBoxIndirectParamW(GetModuleHandleW(nullptr), dialog.Get(), owner, OnAddress,
                                                   reinterpret_cast<LPARAM>(&address));
    return answer == TRUE ? Narrow(address) : std::string();
}

} // namespace vistrame
