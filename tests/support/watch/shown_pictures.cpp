#include "tests/support/watch/shown_pictures.h"

#include <algorithm>
#include <set>

namespace vistrame::live {

ShownPictures FindShownPictures(std::span<const ScreenWatch::Change> changes, double begin, double end) {
    ShownPictures found;
    std::set<int> seen;
    double since = begin;
    int shown = -1;
    for (const auto& [time, look] : changes) {
        if (look.number < 0 || time > end) {
            continue;
        }
        if (time >= begin) {
            seen.insert(look.number);
            if (look.number != shown) {
                found.longestHold = std::max(found.longestHold, time - since);
                since = time;
            }
        }
        shown = look.number;
    }
    found.longestHold = std::max(found.longestHold, end - since);
    if (!seen.empty()) {
        found.pictures = *seen.rbegin() - *seen.begin() + 1;
        found.lost = found.pictures - static_cast<int>(seen.size());
    }
    return found;
}

} // namespace vistrame::live
