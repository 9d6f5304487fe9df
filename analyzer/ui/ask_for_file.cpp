#include "analyzer/ui/ask_for_file.h"

#include <commdlg.h>

#include "analyzer/base/utf8.h"

namespace vistrame {

std::string AskForFile(HWND owner) {
    wchar_t path[1024] = L"";
    OPENFILENAMEW ask{};
    ask.lStructSize = sizeof ask;
    ask.hwndOwner = owner;
    ask.lpstrFilter = L"Transport streams\0*.ts;*.m2ts;*.mts;*.trp;*.mpg\0All files\0*.*\0";
    ask.lpstrFile = path;
    ask.nMaxFile = 1024;
    ask.Flags = OFN_FILEMUSTEXIST | OFN_NOCHANGEDIR | OFN_HIDEREADONLY;
    return GetOpenFileNameW(&ask) ? Narrow(path) : std::string();
}

} // namespace vistrame
