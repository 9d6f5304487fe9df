#pragma once

#include <filesystem>
#include <string>

namespace vistrame {

// Paths are UTF-8 texts in this program; files are opened by what this makes of them.
inline std::filesystem::path FilePath(const std::string& utf8) {
    return {std::u8string(utf8.begin(), utf8.end())};
}

} // namespace vistrame
