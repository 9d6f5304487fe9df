#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "filters/base/lock.h"
#include "transport/bytes.h"

namespace vistrame {

// One access unit on its way to an output pin, or the end of the stream.
struct QueuedUnit {
    std::vector<std::uint8_t> memory;
    std::size_t dataAt = 0;          // in memory, to its end
    std::optional<std::int64_t> pts; // 100 ns on the stream's timeline
    bool discontinuity = false;      // does not continue the unit before
    bool randomAccess = false;       // decoding can begin here
    bool continued = false;          // belongs to the unit before
    std::uint32_t generation = 0;    // set by the queue: Clear ends a generation
    bool endOfStream = false;        // with randomAccess set, so that nothing drops it

    ByteSpan Data() const { return ByteSpan(memory).subspan(dataAt); }
};

// The queue of one output pin between the thread that parses the stream and the pin's worker.
//
// A full queue drops its oldest units up to the next one where decoding can begin: the live edge is what
// counts, and the producer never waits. After a cut, and at the beginning, units are refused until decoding
// can begin, but not for longer than kPatience: some streams never say where (pictures refreshed piece by
// piece).
//
// Threads    one producer, one consumer, and whoever opens, holds and closes it.
// Ownership  units move in and out; some of their memory comes back, to be filled again.
// Errors     Push throws std::bad_alloc when there is no memory for the unit, which is then not in the queue.
class UnitQueue {
public:
    // 10 s of a 12 Mbit/s stream; 10 s at 50 pictures/s.
    static constexpr std::size_t kMaxBytes = std::size_t{15} << 20;
    static constexpr std::size_t kMaxUnits = 500;
    static constexpr std::size_t kMostSpares = 2; // one is being filled, one is on its way out
    // Four times the usual distance between random-access pictures.
    static constexpr std::chrono::seconds kPatience{2};

    // Empty, held, and waiting for a unit where decoding can begin; patience runs out only while not held.
    void Open();
    // Frees the consumer for good; what waits is dropped.
    void Close();
    // While held the consumer waits even though there are units, and only the newest part that can be decoded
    // by itself is kept.
    void Hold(bool held);
    // Drops what waits. `restart`: also refuse units until decoding can begin.
    void Clear(bool restart);

    void Push(QueuedUnit unit);
    // Memory of a unit that has been dealt with, and one that came back so; empty when there is none.
    void GiveBack(std::vector<std::uint8_t> memory);
    [[nodiscard]] std::vector<std::uint8_t> Spare();

    // Waits for the next unit; nothing once closed.
    std::optional<QueuedUnit> Take();
    // Drops everything in front of the last unit where decoding can begin and whose time stamp is not later
    // than `latest`; false, and nothing dropped, when there is none.
    bool SkipToRandomAccess(std::int64_t latest);

    // False: the queue was cleared since the unit went in, or closed.
    bool IsCurrent(const QueuedUnit& unit) const;
    bool AwaitsRandomAccess() const;
    // Units dropped since Open: by a full queue or by skipping.
    std::uint64_t Dropped() const;

private:
    void DropFront();
    void DropOldest();
    void Await();
    bool PatienceEnds();

    mutable Lock lock_; // guards what follows
    Condition changed_;
    std::deque<QueuedUnit> units_;
    std::size_t bytes_ = 0;
    std::vector<std::vector<std::uint8_t>> spares_;
    std::uint64_t dropped_ = 0;
    std::uint32_t generation_ = 0;
    bool open_ = false;
    bool held_ = true;
    bool awaiting_ = true;
    // When the first unit was refused while awaiting.
    std::optional<std::chrono::steady_clock::time_point> refusedSince_;
    bool cut_ = false; // the unit now in front does not continue the one taken last
};

} // namespace vistrame
