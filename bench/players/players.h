// The players that are compared, and how each is started.
#pragma once

#include <string>
#include <vector>

#include "bench/players/player_run.h"

namespace vistrame::bench {

// `build`: the product's build folder, its filters registered in this session.
std::vector<Player> Players(const std::string& build);

} // namespace vistrame::bench
