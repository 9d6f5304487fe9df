#pragma once

#include <cstdint>
#include <optional>

#include "filters/base/reference_time.h"

namespace vistrame {

// Decides whether interlaced video is shown with a picture for each field, or, while the machine is too slow
// for that, with one for each picture of the stream.
//
// How        The pictures of a second in which more than every fourth comes to the renderer behind its time
//            show that the machine is too slow. Field rate is tried again after kFirstWait of pictures in
//            time, and after twice as long each time that a try fails within kTried.
// Units      100 ns of stream time.
// Threads    one at a time.
class FieldRate {
public:
    static constexpr std::int64_t kWindow = kUnitsPerSecond;
    // A run begins with what arrived while the graph was made, and with the renderer's first picture.
    static constexpr std::int64_t kBeginning = 2 * kUnitsPerSecond;
    static constexpr std::int64_t kFirstWait = 10 * kUnitsPerSecond;
    static constexpr std::int64_t kLongestWait = 160 * kUnitsPerSecond;
    static constexpr std::int64_t kTried = 30 * kUnitsPerSecond;

    // A run begins, or the stream anew.
    void Restart();
    // A picture goes to the renderer at `now`; it is to be seen at `due`.
    void Handed(std::int64_t due, std::int64_t now);
    [[nodiscard]] bool Fields() const { return fields_; }

private:
    void Judge(bool slow, std::int64_t now);

    bool fields_ = true;
    std::optional<std::int64_t> begun_;
    std::int64_t since_ = 0; // of the present rate; at picture rate: all has been in time since
    std::int64_t wait_ = kFirstWait;
    std::int64_t windowStart_ = 0;
    int late_ = 0; // pictures of the window
    int count_ = 0;
};

} // namespace vistrame
