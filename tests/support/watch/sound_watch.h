#pragma once

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

struct pa_simple;

namespace vistrame::live {

// What the session's sound sink plays.
//
// How        The sink's monitor is recorded. It hands samples out a little before or after the sink's clock
//            reaches them; how much is found once, before anything else plays: a click is played and the
//            server is asked when it will be heard. Its place in the recording then tells the time of every
//            sample, as the sink keeps the machine's time.
// Units      seconds of Now(); samples of full scale 1.
// Threads    one of its own; the operations from any.
// Errors     no sound server, or a click that is not found, ends the program.
class SoundWatch {
public:
    static constexpr int kRate = 48'000;

    SoundWatch();
    SoundWatch(const SoundWatch&) = delete;
    SoundWatch& operator=(const SoundWatch&) = delete;
    ~SoundWatch();

    struct Piece {
        double begin = 0; // when its first sample is heard
        std::vector<float> samples;

        Piece Cut(double from, double to) const;
    };
    // What has been heard since that moment.
    Piece Since(double time) const;

private:
    void Run();
    void Calibrate();

    pa_simple* capture_ = nullptr;
    mutable std::mutex lock_;
    std::vector<float> samples_;
    double earliest_ = 1e18; // of "now minus the recording's length", over all reads
    double begin_ = 0;       // when sample 0 was heard
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace vistrame::live
