#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vistrame {

// One value of a setting and what it means to people.
struct SettingChoice {
    std::uint32_t value = 0;
    std::string text;
};

// The decoders that the settings MPEG2Codec or MPEG4Codec can name, with which of them are installed here.
// Empty places of the player's catalogue are left out.
std::vector<SettingChoice> DecoderChoices(bool mpeg2);

} // namespace vistrame
