// The analyzer's commands, as they reach the player's window.
#pragma once

#include <cstdint>

#include "contract/commands.h"

namespace vistrame {

// Carries a command out, in turn.
//
// Threads    main thread. One command at a time: one that the system delivers while another is being carried
//            out (a message box or a call into the graph lets messages in) waits until that one is done. Quit
//            waits only for the one under way, closes its message boxes, and nothing comes after it.
// Errors     a command whose object is missing, and an unknown code, does nothing.
void DispatchCommand(CommandCode code, std::uint32_t argument);

// The window is closed or destroyed: so is the process, at once.
[[noreturn]] void EndWithWindow();

} // namespace vistrame
