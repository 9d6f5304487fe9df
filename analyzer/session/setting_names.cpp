#include "analyzer/session/setting_names.h"

#include <algorithm>

#include "analyzer/base/text.h"

namespace vistrame {

std::string SettingsHelp() {
    std::string help;
    for (const SettingRow& row : kSettingRows) {
        help += Format("  %-22s %s\n", std::string(row.name).c_str(), std::string(row.about).c_str());
    }
    return help;
}

std::optional<SettingChange> ParseSetting(std::string_view name, std::string_view value) {
    const auto* const row = std::ranges::find(kSettingRows, name, &SettingRow::name);
    if (row == kSettingRows.end()) {
        return std::nullopt;
    }
    if (row->isText) {
        return SettingChange{*row, 0, std::string(value)};
    }
    const auto number = ParseNumber(value);
    return number ? std::optional(SettingChange{*row, *number, {}}) : std::nullopt;
}

} // namespace vistrame
