// What an end of the player, or its refusal to start, means to its user: cause and cure in words.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vistrame {

// `exitCode` of the player, nothing when it was not started; `box` is the text it showed before, empty when
// it showed none. Two or three sentences.
std::string ExplainPlayerEnd(std::optional<std::uint32_t> exitCode, const std::string& box);

} // namespace vistrame
