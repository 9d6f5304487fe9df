#pragma once

#include <optional>
#include <string>

#include <windows.h>

namespace vistrame {

// The text of a message box that the process has open; nothing when it has none.
//
// Threads    any, but not one that a box of that process waits for.
std::optional<std::string> PlayerBoxText(DWORD processId);

// Presses the box's OK.
void DismissPlayerBox(DWORD processId);

} // namespace vistrame
