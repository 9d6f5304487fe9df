// Standard output and error of a program that has a window: the handles it was started with, otherwise the
// console of the program that started it.
#pragma once

#include <string>

namespace vistrame {

// UTF-8; lines end in '\n'. Lost when there is neither.
void PrintOut(const std::string& text);
// One line, "vistrame-analyzer: " before it.
void PrintError(const std::string& reason);

} // namespace vistrame
