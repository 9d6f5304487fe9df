#pragma once

#include <cstdint>
#include <optional>

#include "filters/base/reference_time.h"

namespace vistrame {

// Decides how decoded sound is handed to a renderer so that it is heard at its time.
//
// A sound renderer obeys the time of a sample only behind a discontinuity, and there only by waiting:
// - Sound that comes late, or that overlaps the sound before it, is played whole.
// - A gap of less than 50 ms is closed.
// - Everything behind such a place stays that much late or early.
// Wine's renderer has more quirks:
// - It measures a longer gap from what is being played, not from the end of the sound it already has.
// - Once it has had nothing to play for longer than its buffer lasts, it no longer knows its place in it.
// - It takes a time before stream time 0 as no time at all. Stream time is negative for the first 0.1 s of a
//   run, so sound of then was heard at once, up to 0.13 s early.
// - The device is still starting then: what it gets first can stay up to 0.07 s late.
// Therefore sound that is late, overlaps or belongs to the first moments of a run is left out here, and gaps
// are filled with silence. Times then matter only to a renderer that is empty: at the start, and after a
// flush, when it has run dry, a gap is very long, or what it has was given a damaged time far ahead.
//
// Units      100 ns of stream time; frames (a sample of each channel).
// Threads    none of its own: one instance per stream, used under the filter's stream lock.
class SoundPlacement {
public:
    // Above the rounding of 90 kHz stamps and their jitter, below what is noticed as a wrong lip.
    static constexpr std::int64_t kTolerance = ReferenceFromMilliseconds(10);
    // The longest gap that is filled. Silence is written ahead like any sound, so a longer one would hold the
    // stream up.
    static constexpr std::int64_t kFilled = kUnitsPerSecond;
    // What the renderer needs to begin in time: its write-ahead and a thread's turn.
    static constexpr std::int64_t kLead = ReferenceFromMilliseconds(20);
    // Sound that belongs so much before what the renderer has shows that the time of that was damaged.
    static constexpr std::int64_t kFarBefore = ReferenceFromMilliseconds(300);
    // Stream time of the earliest sound that is played, once the device runs evenly (seen under Wine).
    static constexpr std::int64_t kBeginning = ReferenceFromMilliseconds(60);

    struct Placement {
        std::int64_t skipped = 0; // frames to leave out at the beginning; all: nothing is played
        std::int64_t silence = 0; // frames to put before the rest
        bool discontinuity = false;
        bool flush = false;     // the renderer, first
        std::int64_t start = 0; // of what is played, silence included
        std::int64_t off = 0;   // how much later than here its time says, as long as it is left there
    };

    // Forgets everything: the renderer is empty.
    void Restart();
    // The renderer runs again after a pause. It plays at once what it still has, while stream time goes on a
    // little later (0.13 s under Wine); that sound is given up for right times.
    void Resume();
    // Places `count` frames; `time`: when the first is to be heard, if known; `now`: the stream time, while
    // it runs.
    Placement Place(std::int64_t count, int rate, std::optional<std::int64_t> time,
                    std::optional<std::int64_t> now);

private:
    std::int64_t Expected(int rate) const;

    // Where the next sound belongs: `counted_` frames after `base_`, so that nothing is lost to rounding.
    std::optional<std::int64_t> base_;
    std::int64_t counted_ = 0;
    // Where the renderer's sound ends; nothing when it has none.
    std::optional<std::int64_t> rendered_;
    bool stale_ = false; // it has had something since it was last empty for sure
};

} // namespace vistrame
