#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

// What the screen shows in `area` (screen coordinates) as a PNG file, by the system's imaging component.
// Empty: written; otherwise what went wrong.
std::string SaveScreenAsPng(const RECT& area, const std::wstring& path);

} // namespace vistrame
