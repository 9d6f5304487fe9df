#pragma once

#include "analyzer/stream/paced_reader.h"

namespace vistrame {

// What becomes of the stream's time that passed during a stall: the stream goes on where it stopped, what was
// missed is sent at once, or it is left out.
enum class ResumeAction { kLate, kBacklog, kSkip };

// The file as a live stream: at any moment the packets that are due and not sent yet.
//
// Units      time in 27 MHz since any fixed moment, never running back; it is always passed in, so there is
//            no clock in here.
// Threads    none of its own, not thread-safe.
class PacedStream {
public:
    // What may come out at once: bounds the bursts after a short lag; 30 packets at 4 ms are 11 Mbit/s.
    static constexpr std::size_t kBurst = kPacketSize * 700;
    // A sender that lags further than this is not hurried: the stream's time waits for it.
    static constexpr std::int64_t kLongestLag = kPcrPerSecond;

    PacedStream(const StreamFile& file, bool loop) : reader_(file), loop_(loop) {}

    struct Portion {
        std::vector<std::uint8_t> packets;
        SyncErrors sync;   // found among them in the file
        bool seam = false; // the file begins again with the next packets (none are in here)
    };
    Portion Due(std::int64_t now);
    // More is due than came out, and all of it is wanted at once.
    bool Hurries() const { return backlog_; }
    // The file was sent once and is not repeated.
    bool Ended() const { return ended_; }

    void SetLoop(bool loop) {
        loop_ = loop;
        ended_ = ended_ && !loop;
    }

    // The stream's time goes on while nothing is sent.
    void Stall() { stalled_ = true; }
    void Resume(ResumeAction kind, std::int64_t now);
    // False: there is no such time in the file; it goes on at its beginning then.
    bool Seek(double seconds);

    // Of the packets last given out.
    double FileSeconds() const { return stretch_.fileSeconds; }
    std::optional<std::uint64_t> Pcr() const { return stretch_.pcr; }
    // How far behind its moment a packet was ever given out, stalls aside. 27 MHz.
    std::int64_t LatestEver() const { return latest_; }

private:
    // The moment the next packet is due.
    std::int64_t NextDue() const;
    bool Advance();
    void Take(Portion& portion, std::int64_t now, std::size_t atMost);

    PacedReader reader_;
    bool loop_;
    Stretch stretch_;
    std::size_t sent_ = 0;   // packets of stretch_
    std::int64_t begin_ = 0; // when stretch_ is due
    SyncErrors sync_;        // not given out yet
    bool started_ = false;
    bool stalled_ = false;
    bool backlog_ = false; // everything that is due comes out at once
    bool seam_ = false;
    bool ended_ = false;
    std::int64_t latest_ = 0;
};

} // namespace vistrame
