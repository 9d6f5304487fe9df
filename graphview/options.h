// What vistrame-graph.exe is asked for on its command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vistrame {

struct Options {
    std::string stream;
    std::uint32_t videoPid = 0x1FFF; // none
    std::uint32_t audioPid = 0x1FFF;
    std::int32_t videoCoding = 0; // as in the player's command line, as the next two
    std::int32_t audioCoding = 0;
    std::int32_t clock = 0;
    std::uint32_t seconds = 3; // how long the stream plays before the graph is looked at
    std::string dot;           // file for Graphviz; empty: none
};

// Nothing when the command line is wrong. A setting of the player (--set NAME=NUMBER) is put into its
// variable at once, over what the registry says, and nowhere else.
std::optional<Options> ParseOptions(int count, char** words);

const char* Usage();

} // namespace vistrame
