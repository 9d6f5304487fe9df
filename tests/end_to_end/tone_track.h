#pragma once

#include <optional>
#include <vector>

#include "tests/end_to_end/sound_capture.h"

namespace vistrame::test {

// Which of two tones a sound holds at each moment.
//
// Units      seconds since the sound's begin; levels of full scale 1.
class ToneTrack {
public:
    // Below this it is silence: -60 dB, under the quietest step of a fade-in of a loud tone.
    static constexpr double kSilence = 0.001;
    static constexpr double kStep = 0.01;

    ToneTrack(const Sound& sound, double firstHertz, double secondHertz);

    struct Span {
        double begin = 0;
        double end = 0;
    };
    // From where the tone (0 or 1) is first the louder one to where it last is; nothing when it never is.
    std::optional<Span> Where(int tone) const;
    // The longest time of silence within.
    double LongestSilence(Span span) const;
    // Root mean square within.
    double Level(Span span) const;
    // Of the loudest half of the span, by the middle one of its periods' lengths; 0 when there is none.
    double Hertz(Span span) const;

private:
    struct Step {
        double level = 0;
        double tones[2] = {};
    };

    const Sound& sound_;
    std::vector<Step> steps_;
};

} // namespace vistrame::test
