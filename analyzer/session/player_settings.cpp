#include "analyzer/session/player_settings.h"

#include <windows.h>

#include "analyzer/base/text.h"
#include "analyzer/base/utf8.h"
#include "contract/settings.h"

namespace vistrame {

bool StoreSetting(const SettingChange& change) {
    const std::wstring key = Widen(kSettingsKey);
    const std::wstring name = Widen(std::string(change.row.name));
    const std::wstring text = Widen(change.text);
    const DWORD number = change.number;
    const LSTATUS result =
        change.row.isText
            ? RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), REG_SZ, text.c_str(),
                              static_cast<DWORD>(text.size() + 1) * DWORD{sizeof(wchar_t)})
            : RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), REG_DWORD, &number,
                              sizeof number);
    return result == ERROR_SUCCESS;
}

std::string LoadSetting(const SettingRow& row) {
    const std::wstring key = Widen(kSettingsKey);
    const std::wstring name = Widen(std::string(row.name));
    if (row.isText) {
        wchar_t text[512];
        DWORD size = sizeof text;
        return RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, text,
                            &size) == ERROR_SUCCESS
                   ? Narrow(text)
                   : std::string();
    }
    DWORD number = 0;
    DWORD size = sizeof number;
    // Absent: 0, as the player reads it.
    (void)RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), RRF_RT_REG_DWORD, nullptr, &number,
                       &size);
    return Format("%lu", number);
}

} // namespace vistrame
