// UTF-8, as this program keeps its texts, and UTF-16, as the platform wants them. Also any Windows error as
// text.
#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

std::wstring Widen(const std::string& utf8);
std::string Narrow(const std::wstring& text);
// Without the line break the platform ends it with.
std::string ErrorText(DWORD error);

} // namespace vistrame
