#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

#include "filters/base/lock.h"
#include "filters/base/reference_time.h"
#include "filters/pace/delay_keeper.h"

namespace vistrame {

// Lays the timeline of a live stream on the graph's stream time. One object serves all streams of a
// programme, so that whatever it decides, picture and sound stay together.
//
// How        A unit is due at its time stamp plus the offset. The offset is chosen so that a unit arrives
//            kLatency before it is to be decoded; it is measured on the units themselves, not on the PCR,
//            because multiplexers send up to a second ahead of the PCR and a viewer should not wait for that.
//            - Start, or run after a pause: settle. Arrivals are watched for kSettle, for kSettleLimit at
//              most if a stream has not shown up; the last arrival of each stream counts, the stream that
//              arrives latest decides. Backlog that comes in a burst is over by then, so the offset is that
//              of the live edge.
//            - Less than kMinimumLead left: the offset moves to kLatency again; by more than kGap: settle
//              anew, since a gap is usually followed by its backlog.
//            - Always too early: by more than kEarly for a whole window: settle anew (the source ran ahead);
//              by more than kComfort: move back, no faster than sound can be resampled.
//            A sender's clock that runs off from the graph's is followed all the time by moving the offset
//            a little with each PCR (DelayKeeper); none of the above then comes to pass.
//            A jump of the PCR or its wrap changes next to nothing: the timeline goes on across it. Where
//            exactly can only be guessed there, from the packets since the last PCR; the arrival of the first
//            PCR behind the jump tells how far the guess was off, and the offset takes that back.
// Units      100 ns throughout, on the timeline (unwrapped) or on stream time.
// Threads    any; one leaf lock inside. AwaitOffset() blocks, the rest does not.
// Errors     a time stamp that lies kImplausible off from where its arrival would have it, going by the
//            stream's last one, is not believed until others agree with it.
class LiveTiming {
public:
    // Decoding a picture (20 ms), the sound renderer's write-ahead (it refuses more than 150 ms) and the
    // jitter of a pipe that is written every 20 to 40 ms.
    static constexpr std::int64_t kLatency = ReferenceFromMilliseconds(200);
    static constexpr std::int64_t kMinimumLead = ReferenceFromMilliseconds(80);
    static constexpr std::int64_t kSettle = ReferenceFromMilliseconds(60);
    static constexpr std::int64_t kSettleLimit = ReferenceFromMilliseconds(150);
    static constexpr std::int64_t kGap = ReferenceFromMilliseconds(500);
    static constexpr std::int64_t kWindow = ReferenceFromMilliseconds(1000);
    static constexpr std::int64_t kEarly = ReferenceFromMilliseconds(700);
    static constexpr std::int64_t kComfort = ReferenceFromMilliseconds(100);
    static constexpr std::int64_t kSlew = kWindow / 1000;
    static constexpr std::int64_t kSeam = ReferenceFromMilliseconds(20); // smaller differences are jitter
    // More than a coder's buffer lasts: its largest picture comes that much later than the small one before.
    static constexpr std::int64_t kImplausible = ReferenceFromMilliseconds(2000);

    static constexpr unsigned kStreams = 2; // video, audio
    static constexpr unsigned kVideo = 0;
    static constexpr unsigned kAudio = 1;

    // Stream time begins to run: nothing is known until arrivals have settled.
    void Start();
    // Stream time stands: arrivals do not count.
    void Stop();
    // Whether units of this stream are to be waited for when settling.
    void Expect(unsigned stream, bool selected);

    // A unit of the stream came in at `now`; `decodeTime` is its DTS on the timeline.
    void Arrive(unsigned stream, std::int64_t decodeTime, std::int64_t now);
    // A PCR came in at `now`; `jump`: the first behind a jump of the clock.
    void ClockArrived(std::int64_t pcr, std::int64_t now, bool jump);

    // Stream time minus timeline. Waits while arrivals settle; nothing once `now` gives nothing. `now` is
    // called with no lock held, at first and after each change, WakeWaiting() included.
    std::optional<std::int64_t> AwaitOffset(const std::function<std::optional<std::int64_t>()>& now);
    // Whoever waits asks `now` again: what that depends on has changed.
    void WakeWaiting();
    // How long after its PCR a moment of the stream is shown.
    std::optional<std::int64_t> Delay() const;

private:
    struct Arrival {
        std::int64_t decodeTime;
        std::int64_t now;
    };
    struct Stream {
        bool expected = false;
        std::optional<std::int64_t> candidate; // offset that would suit its last arrival; while settling
        std::optional<Arrival> believed;       // its last
        std::optional<Arrival> doubted;        // since then
        unsigned agreed = 0;                   // how many doubted ones in a row
    };

    static bool Believe(Stream& stream, const Arrival& arrival);
    void Settle(std::int64_t now);
    void TrySettled(std::int64_t now);
    void Watch(std::int64_t lead, std::int64_t now);
    void Changed();
    // The offset has moved; the delay it makes is the one to keep.
    void Moved(const char* why);
    std::chrono::milliseconds UntilSettled(std::int64_t now) const;

    mutable Lock lock_; // guards what follows
    Condition changed_;
    std::uint64_t changes_ = 0; // so that none is missed between asking `now` and waiting
    std::array<Stream, kStreams> streams_;
    bool running_ = false;
    std::optional<std::int64_t> settlingSince_; // first arrival since settling began
    std::optional<std::int64_t> offset_;
    std::optional<std::int64_t> windowStart_;
    std::int64_t windowLead_ = 0; // smallest of the window
    DelayKeeper keeper_;
    std::optional<std::int64_t> delay_; // smoothed over a few PCRs
    unsigned offsetsChosen_ = 0;        // or moved at once; for the trace
};

} // namespace vistrame
