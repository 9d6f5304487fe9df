#include "analyzer/ui/remembered.h"

#include "analyzer/base/utf8.h"

namespace vistrame {

namespace {

constexpr wchar_t kKey[] = L"Software\\Vistrame\\Analyzer";
constexpr wchar_t kRecent[] = L"RecentFiles";
constexpr wchar_t kPlacement[] = L"Window";

} // namespace

std::vector<std::string> RecentFiles() {
    std::wstring texts(16384, L'\0');
    auto size = static_cast<DWORD>(texts.size()) * DWORD{sizeof(wchar_t)};
    std::vector<std::string> files;
    if (RegGetValueW(HKEY_CURRENT_USER, kKey, kRecent, RRF_RT_REG_MULTI_SZ, nullptr, texts.data(), &size) !=
        ERROR_SUCCESS) {
        return files;
    }
    for (const wchar_t* text = texts.c_str(); *text != L'\0'; text += std::wcslen(text) + 1) {
        files.push_back(Narrow(text));
    }
    return files;
}

void RememberFile(const std::string& path) {
    std::vector<std::string> files = RecentFiles();
    std::erase(files, path);
    files.insert(files.begin(), path);
    files.resize(std::min(files.size(), kRecentFiles));
    std::wstring texts;
    for (const std::string& file : files) {
        texts += Widen(file) + L'\0';
    }
    (void)RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kRecent, REG_MULTI_SZ, texts.c_str(),
                          static_cast<DWORD>(texts.size() + 1) * DWORD{sizeof(wchar_t)});
}

std::optional<WINDOWPLACEMENT> RememberedPlacement() {
    WINDOWPLACEMENT placement{};
    DWORD size = sizeof placement;
    const bool read = RegGetValueW(HKEY_CURRENT_USER, kKey, kPlacement, RRF_RT_REG_BINARY, nullptr,
                                   &placement, &size) == ERROR_SUCCESS;
    return read && size == sizeof placement && placement.length == size ? std::optional(placement)
                                                                        : std::nullopt;
}

void RememberPlacement(const WINDOWPLACEMENT& placement) {
    (void)RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kPlacement, REG_BINARY, &placement, sizeof placement);
}

} // namespace vistrame
