// What the window remembers from one run to the next, in the current user's registry.
//
// Errors     what cannot be read or written is as if it had never been.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <windows.h>

namespace vistrame {

inline constexpr std::size_t kRecentFiles = 8;

// The newest first.
std::vector<std::string> RecentFiles();
void RememberFile(const std::string& path);

std::optional<WINDOWPLACEMENT> RememberedPlacement();
void RememberPlacement(const WINDOWPLACEMENT& placement);

} // namespace vistrame
