#pragma once

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace vistrame::test {

// What a sound sink has played.
//
// Units      samples of full scale 1, kRate a second, both channels' mean; seconds since the capture began.
struct Sound {
    static constexpr int kRate = 48'000;

    std::vector<float> samples;
    // Of the system's performance counter, at the first sample.
    double begin = 0;
};

// Records the sink of the session (its monitor is the default recording device).
//
// Times of nothing at all, before a first program opens the sink, are filled with silence, so that a sample's
// place is its time.
//
// Threads    one of its own between construction and Stop.
// Errors     a device that cannot be opened fails the running test and leaves an empty sound.
class SoundCapture {
public:
    SoundCapture();
    SoundCapture(const SoundCapture&) = delete;
    SoundCapture& operator=(const SoundCapture&) = delete;
    ~SoundCapture();

    // Ends the recording.
    const Sound& Stop();

    // The clock of `begin`.
    static double Now();

private:
    void Run();

    Sound sound_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace vistrame::test
