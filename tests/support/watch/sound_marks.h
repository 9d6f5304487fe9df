#pragma once

#include <span>
#include <vector>

#include "tests/support/watch/sound_watch.h"

namespace vistrame::live {

struct Beep {
    double time = 0; // its first sample, to about a millisecond
    bool odd = false;
};
// The beeps of a measured stream (tests/live/make-streams), at any volume.
std::vector<Beep> Beeps(const SoundWatch::Piece& sound);

// Stretches of silence longer than so many seconds, and the longest one; the streams' tone never ends.
struct Silence {
    int gaps = 0;
    double longest = 0;
};
Silence FindSilence(const SoundWatch::Piece& sound, double longer);

// One tone's amplitude, every kStep.
struct Envelope {
    static constexpr double kStep = 0.01;

    double begin = 0;
    std::vector<double> amplitudes;

    double Time(std::size_t step) const { return begin + static_cast<double>(step) * kStep; }
    // From when on it is there; before `begin` when it never is.
    double Onset() const;
};
Envelope ToneEnvelope(const SoundWatch::Piece& sound, double hertz);

// The tones by audio coding.
inline constexpr double kTones[] = {500, 700, 900, 1100};
// Which of some tones is there (its index; -1: none), and its exact frequency.
struct Tone {
    int index = -1;
    double hertz = 0;
};
Tone FindTone(const SoundWatch::Piece& sound, std::span<const double> tones = kTones);

} // namespace vistrame::live
