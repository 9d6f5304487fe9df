#pragma once

#include <array>

#include "filters/pictures/picture.h"

namespace vistrame {

// A colour's red, green and blue, or its Y, U and V.
using Triple = std::array<double, 3>;

// What a colour of other primaries or of a high dynamic range becomes on a monitor of standard range: BT.709,
// BT.1886.
//
// BT.2020 and 525 lines of standard definition keep their light. HLG is taken as a display of 1000 cd/m2
// shows it (BT.2100), PQ as it is, of 1000 cd/m2 where it does not say. Both are brought down to the 203
// cd/m2 that is their white (BT.2408) by the curve of BT.2390, which leaves all below some 100 alone; by
// the largest component, so that hues stay. What then lies outside the gamut of BT.709 is clipped.
//
// Units      signals 0 to 1, U and V -0.5 to 0.5; light in cd/m2.
// Threads    any, once made.
class StandardRange {
public:
    // Nothing to do: the colours are a monitor's already, or are not known.
    static bool IsNeededFor(const Colours& colours);

    explicit StandardRange(const Colours& colours);

    // From the picture's Y, U and V to those of BT.709.
    [[nodiscard]] Triple Map(const Triple& yuv) const;

private:
    [[nodiscard]] Triple LightOf(const Triple& rgb) const;
    [[nodiscard]] double Toned(double light) const;

    const Colours colours_;
    double peak_ = 0; // the brightest light that the picture's maker saw, as PQ
    double knee_ = 0; // where the curve begins, of the peak
    double top_ = 0;  // the monitor's brightest, of the peak
};

} // namespace vistrame
