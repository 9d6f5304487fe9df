#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

// Asks for a transport-stream file, beginning where the last was; empty when the user gives up.
std::string AskForFile(HWND owner);
// Asks for the address of a live stream.
std::string AskForAddress(HWND owner);

} // namespace vistrame
