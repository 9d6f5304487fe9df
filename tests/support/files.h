#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <windows.h>

namespace vistrame::test {

inline constexpr char kDebugLogPath[] = "C:\\Vistrame.txt";

// The whole file, byte for byte; "(none)" when it cannot be opened.
inline std::string FileContents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return "(none)";
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

// A new empty directory under the temporary one, with its trailing backslash. It stays behind: error-log
// files in it are held open by the process that wrote them.
inline std::string NewDirectory(const std::string& name) {
    char temporary[MAX_PATH] = "";
    GetTempPathA(sizeof temporary, temporary);
    std::string path =
        temporary + name + std::to_string(GetCurrentProcessId()) + '.' + std::to_string(GetTickCount());
    std::filesystem::create_directories(path);
    return path + '\\';
}

// Names of the files in a directory, sorted.
inline std::vector<std::string> FilesIn(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace vistrame::test
