#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include "analyzer/base/event_log.h"
#include "analyzer/stream/paced_stream.h"
#include "analyzer/stream/packet_faults.h"
#include "analyzer/stream/pipe_server.h"

namespace vistrame {

// Sends the file through the pipe in real time.
//
// Once the stream's time has begun it goes on, also while no player is there: what is due then is lost, as
// with any live stream.
//
// Threads    one of its own, which paces and writes; the operations are for one other thread, the readings
//            for any. lock_ guards the stream and the faults and is never held while the pipe is waited for;
//            pipeLock_ guards the pipe and is held through each write, which Cancel frees.
// Ownership  borrows the file for its own life.
class StreamPump {
public:
    struct Counts {
        std::uint64_t sent = 0; // packets written into a pipe
        std::uint64_t lost = 0;
        std::uint64_t damaged = 0;
        unsigned seams = 0;
        double lateMsec = 0; // furthest behind the PCR
    };

    // Called on the pump's thread.
    struct Watchers {
        // The file begins again or an announced seek leaves for another place: between the last packet before
        // and the first after.
        std::function<void()> announceSeam;
        // What is sent, or would be if a player were there, and what was found between the packets.
        std::function<void(std::span<const std::uint8_t> packets, SyncErrors between)> sent;
        // What is sent next does not continue what was sent before, announced or not.
        std::function<void()> broken;
    };
    struct Manner {
        bool loop = true;
        std::uint32_t seed = 1;     // of losses and damages
        int clockPpm = 0;           // the file's clock runs so many millionths fast
        bool waitsForPlayer = true; // the stream's time begins with the first player, otherwise at once
    };

    StreamPump(const StreamFile& file, Manner manner, Watchers watchers);
    StreamPump(const StreamPump&) = delete;
    StreamPump& operator=(const StreamPump&) = delete;
    ~StreamPump();

    // The pipe for the next player. False and GetLastError: it cannot be made.
    bool OpenPipe(std::uint32_t pipeId);
    void ClosePipe();

    void SetLoop(bool loop);
    void Stall();
    void Resume(ResumeAction kind);
    // False: no such time in the file.
    bool Seek(double seconds, bool announced);
    void SetLoss(double share);
    void SetDamage(double share);
    void SetSpoiling(Spoiling spoiling);

    // Notes from now on when random-access pictures of this PID go into the pipe.
    void WatchRandomAccess(Pid pid);
    // EventLog::Now() of each since then.
    std::vector<double> RandomAccessTimes();

    Counts Count();
    double FileSeconds();
    std::optional<std::uint64_t> Pcr();

private:
    std::int64_t StreamTime() const;
    void Run();
    bool Pump();
    // False: no player is connected. Nothing to write only asks for that.
    bool Write(std::span<const std::uint8_t> packets);
    void NoteRandomAccess(std::span<const std::uint8_t> packets);

    const Manner manner_;
    const Watchers watchers_;
    const std::int64_t origin_;

    std::mutex lock_;
    LiveSource* const live_; // null: the file below is sent
    PacedStream stream_;
    PacketFaults faults_;
    bool announce_ = false; // an announced seek waits for its announcement
    bool broken_ = false;   // by a seek
    Pid watchedPid_ = kNullPid;
    std::vector<double> randomAccess_;
    std::uint64_t sent_ = 0;
    unsigned seams_ = 0;

    std::mutex pipeLock_;
    PipeServer pipe_;

    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace vistrame
