// What was on the screen, as far as its pictures bear numbers.
#pragma once

#include <span>

#include "tests/support/watch/screen_watch.h"

namespace vistrame::live {

struct ShownPictures {
    double longestHold = 0; // seconds in which the number did not change
    int pictures = 0;       // from the first number seen to the last one
    int lost = 0;           // of these, never seen
};
// Between two moments.
ShownPictures FindShownPictures(std::span<const ScreenWatch::Change> changes, double begin, double end);

} // namespace vistrame::live
