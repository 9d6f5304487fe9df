// How long other players take to change the programme of a live stream, at the press of a key.
#pragma once

#include <string>
#include <vector>

namespace vistrame::bench {

struct KeyPlayer {
    std::string name;
    // A command of the shell that plays what comes from its standard input at the display's left and top.
    std::string command;
    std::string key; // the next programme, or its video, as xdotool has it
};

// VLC takes its key for the next programme and goes on as before; with mpv no change was seen in these runs.
std::vector<KeyPlayer> KeyPlayers();

// `stream`: of make-streams, with programmes of the colours 1 and 2, sent at its own pace. Milliseconds of
// each change from the key to the other programme's picture on the screen, sorted; less than `changes` when
// the player did not change any more. Needs a session.
std::vector<double> ChangesByKey(const KeyPlayer& player, const std::string& stream, int changes);

} // namespace vistrame::bench
