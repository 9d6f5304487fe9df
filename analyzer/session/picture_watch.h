#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <windows.h>

namespace vistrame {

// Looks at the screen where the player shows its video: when a new programme's first picture is there, and
// how evenly pictures follow each other.
//
// A few rows of the area are read every kPeriod. The first picture is the first sample after the selection
// was carried out that differs from what was there then (a blank window, or the old programme's last picture)
// and is not of one colour.
//
// Units      milliseconds of EventLog::Now().
// Threads    one of its own, which samples only while something is asked; the operations from any.
// Errors     an area that is covered or off the screen shows what covers it.
class PictureWatch {
public:
    // `area` is the window the player's window fills.
    explicit PictureWatch(HWND area);
    PictureWatch(const PictureWatch&) = delete;
    PictureWatch& operator=(const PictureWatch&) = delete;
    ~PictureWatch();

    // A selection is about to be sent; forgets what was found before.
    void Expect();
    // It was carried out: what the area shows now is not its picture yet.
    void Settle();
    // When the first picture was seen.
    std::optional<double> FirstPicture();
    // Whether Expect was called and no picture has been seen since.
    bool Expecting();

    struct Motion {
        double longestMsec = 0; // the longest time the picture stood still
        unsigned changes = 0;
    };
    void BeginMotion();
    Motion EndMotion();

private:
    using Sample = std::vector<std::uint32_t>;

    void Run();
    Sample Look() const;
    void OnSample(const Sample& sample, double when);
    void OnMotion(const Sample& sample, double when);
    static double Difference(const Sample& one, const Sample& other);
    static bool OneColour(const Sample& sample);

    HWND area_;
    std::mutex lock_;
    bool expecting_ = false;
    bool settled_ = false;
    Sample before_; // last sample before Settle
    std::optional<double> first_;
    bool moving_ = false;
    Sample shown_; // the picture that stands
    double shownSince_ = 0;
    Motion motion_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace vistrame
