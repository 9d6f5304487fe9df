#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

// Asks for a transport-stream file; empty when the user gives up.
std::string AskForFile(HWND owner);

} // namespace vistrame
