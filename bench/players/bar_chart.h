// Figures of several players as a picture: a group of bars for each stream.
#pragma once

#include <span>
#include <string>

namespace vistrame::bench {

struct Bar {
    std::string group;
    std::string name;
    double value = 0;
};

// Groups in the order of their first bars. False: the file cannot be written.
bool WriteBars(const std::string& path, const std::string& title, std::span<const Bar> bars);

} // namespace vistrame::bench
