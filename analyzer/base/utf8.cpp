#include "analyzer/base/utf8.h"

#include <windows.h>

#include "analyzer/base/text.h"

namespace vistrame {

std::wstring Widen(const std::string& utf8) {
    const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    (void)MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), text.data(), size);
    return text;
}

std::string Narrow(const std::wstring& text) {
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    (void)WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::string ErrorText(unsigned long error) {
    wchar_t buffer[256];
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, buffer, 256, nullptr);
    while (length > 0 && (buffer[length - 1] <= L' ' || buffer[length - 1] == L'.')) {
        --length;
    }
    return length > 0 ? Narrow(std::wstring(buffer, length)) : Format("error %lu", error);
}

} // namespace vistrame
