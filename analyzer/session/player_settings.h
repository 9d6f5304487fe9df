// The player's settings in the current user's registry. Read by the player when it starts.
#pragma once

#include <string>

#include "analyzer/session/setting_names.h"

namespace vistrame {

// False: the registry refused.
bool StoreSetting(const SettingChange& change);

// As a user would type it; "0" or the empty text when it is not there.
std::string LoadSetting(const SettingRow& row);

} // namespace vistrame
