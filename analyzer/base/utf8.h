// Texts are UTF-8 in this program, paths too; here they become what the platform takes, and its texts become
// ours.
//
// Errors     bytes that are no UTF-8 become replacement characters.
#pragma once

#include <filesystem>
#include <string>

namespace vistrame {

// Files are opened by this, not by the text.
inline std::filesystem::path FilePath(const std::string& utf8) {
    return {std::u8string(utf8.begin(), utf8.end())};
}

// Windows only, where the platform's texts are UTF-16.
std::wstring Widen(const std::string& utf8);
std::string Narrow(const std::wstring& text);
// What a code of GetLastError means, without the line break the platform ends it with.
std::string ErrorText(unsigned long error);

} // namespace vistrame
