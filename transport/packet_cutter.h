#pragma once

#include <array>
#include <functional>

#include "transport/packet.h"

namespace vistrame {

// What stood where a packet had to begin (ETSI TR 101 290, 1.1 and 1.2).
struct SyncErrors {
    std::uint64_t bytes = 0;  // packets that did not begin with a sync byte; two for each loss
    std::uint64_t losses = 0; // two of them in a row, so that the packets had to be found again

    friend SyncErrors operator-(SyncErrors later, SyncErrors earlier) {
        return {later.bytes - earlier.bytes, later.losses - earlier.losses};
    }
    SyncErrors& operator+=(SyncErrors more) {
        bytes += more.bytes;
        losses += more.losses;
        return *this;
    }
};

// Cuts a byte stream that arrives in arbitrary chunks into whole transport packets, finding their distance by
// itself: 188 bytes, 192 (4 bytes of time stamp in front of each) or 204 (16 bytes of error correction
// behind).
//
// Units      bytes.
// Threads    none of its own, not thread-safe: one instance per stream and thread.
// Ownership  the sink borrows each packet until it returns; of a chunk only an unfinished tail is copied.
// Errors     bytes that belong to no packet are dropped and counted, never reported. The first packets come
//            out once kSyncsToLock of them stand in a row; a single damaged sync byte costs its own packet
//            only.
class PacketCutter {
public:
    using Sink = std::function<void(const PacketView&)>;

    // Enough syncs in a row that payload is not mistaken for them (below one in ten million), little enough
    // data (under 4 ms at 2 Mbit/s) that nobody waits for it.
    static constexpr std::size_t kSyncsToLock = 5;

    explicit PacketCutter(Sink sink);

    // Calls the sink once per completed packet, in stream order. The sink must not call Feed or Flush.
    void Feed(ByteSpan chunk);
    // End of the stream: what whole packets are left come out although too few for a lock, the tail is
    // dropped.
    void Flush();
    // Forgets tail, lock and counters. From inside the sink it takes effect when the sink returns, and the
    // rest of the chunk is searched anew.
    void Reset();

    // Distance between packets, 0 before the first lock.
    std::size_t Stride() const { return stride_; }
    bool Locked() const { return locked_; }
    std::uint64_t Packets() const { return packets_; }
    std::uint64_t DroppedBytes() const { return dropped_; }
    // Nothing in front of the first lock counts.
    SyncErrors Errors() const { return errors_; }

private:
    static constexpr std::size_t kMaxStride = 204;
    // The most that can be short of a decision, and one packet.
    static constexpr std::size_t kTailCapacity = (kSyncsToLock - 1) * kMaxStride + kPacketSize;

    // Each takes what it can from the front of `bytes` and returns how much that was; 0 when it needs more.
    std::size_t Consume(ByteSpan bytes);
    std::size_t ConsumeLocked(ByteSpan bytes);
    std::size_t Search(ByteSpan bytes);
    // Where in the packet at the front another one begins, because bytes are missing; 0 when none does as far
    // as the data reaches.
    std::size_t CutShortAt(ByteSpan bytes) const;
    // Returns what is left of the chunk when the tail has been used up or the chunk has.
    ByteSpan ConsumeTail(ByteSpan chunk);
    void Lock(std::size_t stride);
    void CountLoss();
    void Drop(std::size_t bytes);
    void Emit(ByteSpan bytes);
    void DoReset();

    Sink sink_;
    std::array<std::uint8_t, kTailCapacity> tail_{};
    std::size_t tailSize_ = 0;
    std::size_t stride_ = 0;
    std::size_t skip_ = 0; // bytes to pass over before the next packet while locked
    std::size_t droppedInSearch_ = 0;
    std::uint64_t packets_ = 0;
    std::uint64_t dropped_ = 0;
    SyncErrors errors_;
    bool locked_ = false;
    bool inSink_ = false;
    bool resetWanted_ = false;
};

} // namespace vistrame
