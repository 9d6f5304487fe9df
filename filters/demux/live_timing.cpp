#include "filters/demux/live_timing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "filters/base/trace.h"

namespace vistrame {

void LiveTiming::Start() {
    const std::lock_guard lock(lock_);
    running_ = true;
    keeper_.Restart();
    offset_.reset();
    delay_.reset();
    settlingSince_.reset();
    windowStart_.reset();
    for (Stream& stream : streams_) {
        stream.candidate.reset();
        stream.believed.reset();
        stream.doubted.reset();
        stream.agreed = 0;
    }
    Changed();
}

void LiveTiming::Stop() {
    const std::lock_guard lock(lock_);
    running_ = false;
    delay_.reset();
    Changed();
}

void LiveTiming::Expect(unsigned stream, bool selected) {
    const std::lock_guard lock(lock_);
    streams_.at(stream).expected = selected;
    Changed();
}

void LiveTiming::WakeWaiting() {
    const std::lock_guard lock(lock_);
    Changed();
}

void LiveTiming::Changed() {
    ++changes_;
    changed_.notify_all();
}

bool LiveTiming::Believe(Stream& stream, const Arrival& arrival) {
    constexpr unsigned kEnough = 3; // damaged time stamps do not agree with each other
    const auto follows = [&](const std::optional<Arrival>& before) {
        return before && std::abs((arrival.decodeTime - before->decodeTime) - (arrival.now - before->now)) <=
                             kImplausible;
    };
    if (stream.believed && !follows(stream.believed)) {
        stream.agreed = follows(stream.doubted) ? stream.agreed + 1 : 1;
        stream.doubted = arrival;
        if (stream.agreed < kEnough) {
            return false;
        }
    }
    stream.believed = arrival;
    stream.doubted.reset();
    stream.agreed = 0;
    return true;
}

void LiveTiming::Settle(std::int64_t now) {
    offset_.reset();
    delay_.reset();
    settlingSince_ = now;
    windowStart_.reset();
    for (Stream& stream : streams_) {
        stream.candidate.reset();
    }
}

void LiveTiming::TrySettled(std::int64_t now) {
    if (!settlingSince_ || now - *settlingSince_ < kSettle) {
        return;
    }
    const auto missing = [](const Stream& stream) { return stream.expected && !stream.candidate; };
    if (std::ranges::any_of(streams_, missing) && now - *settlingSince_ < kSettleLimit) {
        return;
    }
    for (const Stream& stream : streams_) {
        if (stream.candidate && (!offset_ || *stream.candidate > *offset_)) {
            offset_ = stream.candidate;
        }
    }
    if (offset_) {
        settlingSince_.reset();
        Moved("settled");
    }
}

void LiveTiming::Moved(const char* why) {
    ++offsetsChosen_;
    keeper_.Moved();
    Trace("timing: ", why, ", offset ", MillisecondsFromReference(*offset_), " ms (no. ", offsetsChosen_,
          "), sender's clock ", std::llround(keeper_.Rate() * 1e6), " ppm");
}

void LiveTiming::Watch(std::int64_t lead, std::int64_t now) {
    if (!windowStart_) {
        windowStart_ = now;
        windowLead_ = lead;
    }
    windowLead_ = std::min(windowLead_, lead);
    if (now - *windowStart_ < kWindow) {
        return;
    }
    windowStart_.reset();
    if (windowLead_ > kLatency + kEarly) {
        Trace("timing: the source ran ahead, settles anew");
        Settle(now);
    } else if (windowLead_ > kLatency + kComfort) {
        *offset_ -= kSlew;
        keeper_.Moved();
    }
}

void LiveTiming::Arrive(unsigned stream, std::int64_t decodeTime, std::int64_t now) {
    const std::lock_guard lock(lock_);
    Stream& source = streams_.at(stream);
    if (!running_ || !Believe(source, {decodeTime, now})) {
        return;
    }
    const std::int64_t candidate = now + kLatency - decodeTime;
    if (offset_) {
        const std::int64_t lead = decodeTime + *offset_ - now;
        if (lead < kLatency - kGap) {
            Trace("timing: stream ", stream, " came ", MillisecondsFromReference(kLatency - lead),
                  " ms late, settles anew");
            Settle(now);
        } else if (lead < kMinimumLead) {
            offset_ = candidate;
            windowStart_.reset();
            Moved("little time left, moved");
        } else {
            Watch(lead, now);
        }
    }
    if (!offset_) {
        source.candidate = candidate;
        settlingSince_ = settlingSince_.value_or(now);
        TrySettled(now);
        Changed();
    }
}

void LiveTiming::ClockArrived(std::int64_t pcr, std::int64_t now, bool jump) {
    constexpr std::int64_t kSmoothing = 8; // PCRs, a third of a second
    const std::lock_guard lock(lock_);
    if (!running_ || !offset_) {
        return;
    }
    const std::int64_t delay = pcr + *offset_ - now;
    const std::int64_t off = delay_ ? delay - *delay_ : 0;
    if (!delay_ || std::abs(off) > kGap) {
        delay_ = delay;
        keeper_.Moved();
    } else if (jump && std::abs(off) > kSeam) {
        *offset_ -= off;
        Moved("corrected behind a jump of the clock");
    } else {
        *delay_ += off / kSmoothing;
        *offset_ += keeper_.Correct(delay, now);
    }
}

// How long arrivals have to be watched yet, when nothing more arrives; at least a millisecond.
std::chrono::milliseconds LiveTiming::UntilSettled(std::int64_t now) const {
    const std::int64_t watched = now - *settlingSince_;
    const std::int64_t left = (watched < kSettle ? kSettle : kSettleLimit) - watched;
    return std::chrono::milliseconds(std::max<std::int64_t>(MillisecondsFromReference(left), 0) + 1);
}

std::optional<std::int64_t> LiveTiming::AwaitOffset(const std::function<std::optional<std::int64_t>()>& now) {
    std::unique_lock lock(lock_);
    while (true) {
        const std::uint64_t seen = changes_;
        lock.unlock();
        const std::optional<std::int64_t> at = now();
        lock.lock();
        if (!at) {
            return std::nullopt;
        }
        if (running_ && !offset_) {
            TrySettled(*at);
        }
        if (offset_) {
            return offset_;
        }
        const auto changed = [&] { return changes_ != seen; };
        if (running_ && settlingSince_) {
            (void)changed_.wait_for(lock, UntilSettled(*at), changed); // settled by time, or by what changed
        } else {
            changed_.wait(lock, changed);
        }
    }
}

std::optional<std::int64_t> LiveTiming::Delay() const {
    const std::lock_guard lock(lock_);
    return delay_;
}

} // namespace vistrame
