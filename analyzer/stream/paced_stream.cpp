#include "analyzer/stream/paced_stream.h"

#include <algorithm>
#include <utility>

namespace vistrame {

std::int64_t PacedStream::NextDue() const {
    const auto packets = static_cast<std::int64_t>(stretch_.Packets());
    return packets == 0 ? begin_ : begin_ + stretch_.duration * static_cast<std::int64_t>(sent_) / packets;
}

// To the next stretch when this one is sent. False: there is nothing to send now.
bool PacedStream::Advance() {
    if (sent_ < stretch_.Packets()) {
        return true;
    }
    const std::int64_t end = begin_ + stretch_.duration;
    if (reader_.Next(stretch_)) {
        begin_ = end;
        sent_ = 0;
        sync_ += stretch_.sync;
        return true;
    }
    if (loop_ && !seam_) {
        seam_ = true;
        reader_.Rewind();
    } else if (!loop_) {
        ended_ = true;
    }
    return false;
}

void PacedStream::Take(Portion& portion, std::int64_t now, std::size_t atMost) {
    while (portion.packets.size() < atMost && Advance() && NextDue() <= now) {
        latest_ = backlog_ ? latest_ : std::max(latest_, now - NextDue());
        const auto begin = stretch_.bytes.begin() + static_cast<std::ptrdiff_t>(sent_ * kPacketSize);
        portion.packets.insert(portion.packets.end(), begin, begin + kPacketSize);
        ++sent_;
    }
}

PacedStream::Portion PacedStream::Due(std::int64_t now) {
    Portion portion;
    if (!started_) {
        started_ = true;
        begin_ = now;
    }
    if (stalled_ || ended_) {
        return portion;
    }
    seam_ = false;
    if (Advance()) {
        if (const std::int64_t lag = now - NextDue(); !backlog_ && lag > kLongestLag) {
            latest_ = std::max(latest_, lag);
            begin_ += lag;
        }
        Take(portion, now, kBurst);
    }
    portion.seam = seam_;
    portion.sync = std::exchange(sync_, {});
    backlog_ = backlog_ && portion.packets.size() >= kBurst;
    return portion;
}

void PacedStream::Resume(ResumeAction kind, std::int64_t now) {
    if (!stalled_) {
        return;
    }
    stalled_ = false;
    if (kind == ResumeAction::kSkip) {
        Portion missed;
        do {
            missed.packets.clear();
            seam_ = false;
            Take(missed, now, kBurst);
        } while (missed.packets.size() >= kBurst || seam_);
        sync_ = {};
    }
    backlog_ = kind == ResumeAction::kBacklog;
    if (kind == ResumeAction::kLate && Advance()) {
        begin_ += std::max<std::int64_t>(now - NextDue(), 0);
    }
}

bool PacedStream::Seek(double seconds) {
    const std::int64_t due = NextDue();
    const bool found = reader_.Seek(seconds);
    if (!found) {
        reader_.Rewind();
    }
    stretch_ = Stretch();
    begin_ = due;
    sent_ = 0;
    ended_ = false;
    return found;
}

} // namespace vistrame
