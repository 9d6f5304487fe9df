// One player, ours or another, playing one stream while screen and processes are watched.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vistrame::bench {

inline constexpr int kWidth = 480; // of the picture on the screen
inline constexpr int kHeight = 270;

struct Player {
    std::string name;
    // A command of the shell that plays the file $1 once, kWidth x kHeight, at left and top of the display.
    std::string command;
    int left = 0;
    int top = 0;
    std::string process; // whose cost is measured, as `comm` has it
};

struct Figures {
    std::string failure;  // nothing, or why there are none
    double processor = 0; // seconds per second, of the player
    double around = 0;    // likewise of the display's server and Wine's
    double memory = 0;    // megabytes (PSS)
    double firstPicture = 0;
    int pictures = 0; // that should have been seen
    int lost = 0;     // never seen
    double hold = 0;  // the longest that one stood, seconds
};

// Two seconds after the first picture the figures begin; `seconds` later the player is ended. With `copies`
// of it (two seconds more each), one after the other in the same place, the cost is that of all, and the
// pictures are those of the last, which is on top. Needs a session.
Figures Play(const Player& player, const std::string& stream, double seconds, int copies = 1);

} // namespace vistrame::bench
