// Names the error-log files: directory, local time, "VistrameError.txt".
#pragma once

#include <cstddef>
#include <ctime>
#include <span>

namespace vistrame {

inline constexpr std::size_t kErrorFileNameSize = 260; // the platform's longest path, terminator included

// "<directory>Sun Nov 15 02.44.07 2026  VistrameError.txt": colons become dots from the fourth character on,
// so that a drive's colon survives, and the time text's own line end becomes the first of the two blanks.
// `directory` is a plain prefix and brings its backslash. False when the name does not fit.
bool FormatErrorFileName(std::span<char, kErrorFileNameSize> name, const char* directory,
                         const std::tm& localTime);

} // namespace vistrame
