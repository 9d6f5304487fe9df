#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace vistrame::live {

// Seconds of the machine's monotonic clock, of which all times here are.
double Now();

// What the marks of a measured stream (tests/live/make-streams) look like at one moment.
struct Look {
    enum class Flash { kNone, kWhite, kCyan };

    int red = 0, green = 0, blue = 0; // at the left of the row that is watched for it
    Flash flash = Flash::kNone;
    int number = -1; // of the picture, in 25 Hz; -1 when it cannot be read

    bool Near(int colour) const; // 0xRRGGBB, as far as coding and scaling let it be
    bool operator==(const Look&) const = default;
};

// Watches the analyzer's picture area, or another, on the session's display, every kPeriod.
//
// Units      seconds of Now(), in the middle of the server's answer. The display shows what it is sent at
//            once, so a reported time is late by half a period on average.
// Threads    one of its own from construction to destruction; the operations from any.
// Errors     no display ends the program; as long as there is no window, nothing is seen.
class ScreenWatch {
public:
    static constexpr double kPeriod = 0.003;

    // The area, and the row of it whose colour counts: the middle one by default.
    ScreenWatch(int width, int height, int colourRow = -1);
    // An area whose place on the display is known.
    struct Place {
        int x = 0, y = 0;
    };
    ScreenWatch(Place place, int width, int height);
    ScreenWatch(const ScreenWatch&) = delete;
    ScreenWatch& operator=(const ScreenWatch&) = delete;
    ~ScreenWatch();

    struct Change {
        double time = 0;
        Look look;
    };
    // Every change of what is seen since the window has been there.
    std::vector<Change> Changes() const;
    // The longest time between two looks: what could have been missed.
    double LongestBlink() const;

private:
    void Run();

    const int width_, height_, colourRow_;
    std::optional<Place> place_; // found by the thread when it is not given
    mutable std::mutex lock_;
    std::vector<Change> changes_;
    double blink_ = 0;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace vistrame::live
