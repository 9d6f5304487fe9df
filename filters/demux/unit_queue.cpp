#include "filters/demux/unit_queue.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "filters/base/trace.h"

namespace vistrame {

void UnitQueue::Open() {
    const std::lock_guard lock(lock_);
    units_.clear();
    bytes_ = 0;
    dropped_ = 0;
    open_ = true;
    held_ = true;
    Await();
    cut_ = true;
}

void UnitQueue::Close() {
    const std::lock_guard lock(lock_);
    units_.clear();
    bytes_ = 0;
    spares_.clear();
    open_ = false;
    changed_.notify_all();
}

void UnitQueue::Hold(bool held) {
    const std::lock_guard lock(lock_);
    held_ = held;
    refusedSince_.reset();
    changed_.notify_all();
}

void UnitQueue::Clear(bool restart) {
    const std::lock_guard lock(lock_);
    cut_ = cut_ || restart || !units_.empty();
    if (restart) {
        Await();
    }
    units_.clear();
    bytes_ = 0;
    ++generation_;
}

void UnitQueue::DropFront() {
    bytes_ -= units_.front().memory.size();
    units_.pop_front();
    ++dropped_;
    cut_ = true;
}

void UnitQueue::DropOldest() {
    do {
        DropFront();
    } while (!units_.empty() && !units_.front().randomAccess);
    if (units_.empty()) {
        Await();
    }
    Trace("queue: full, ", dropped_, " units dropped so far");
}

void UnitQueue::Await() {
    awaiting_ = true;
    refusedSince_.reset();
}

// Another unit where decoding cannot properly begin; true: it is time to begin all the same.
bool UnitQueue::PatienceEnds() {
    if (held_) {
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    refusedSince_ = refusedSince_.value_or(now);
    const bool ends = now - *refusedSince_ >= kPatience;
    if (ends) {
        Trace("queue: begins without a place where decoding can begin");
    }
    return ends;
}

void UnitQueue::Push(QueuedUnit unit) {
    const std::lock_guard lock(lock_);
    if (!open_ || (awaiting_ && !unit.randomAccess && (!PatienceEnds() || unit.continued))) {
        return;
    }
    if (held_ && unit.randomAccess && !unit.endOfStream && !units_.empty()) {
        units_.clear();
        bytes_ = 0;
        cut_ = true;
    }
    const std::size_t bytes = unit.memory.size();
    unit.generation = generation_;
    units_.push_back(std::move(unit));
    bytes_ += bytes;
    awaiting_ = false;
    while (units_.size() > 1 && (units_.size() > kMaxUnits || bytes_ > kMaxBytes)) {
        DropOldest();
    }
    changed_.notify_all();
}

void UnitQueue::GiveBack(std::vector<std::uint8_t> memory) {
    const std::lock_guard lock(lock_);
    if (open_ && spares_.size() < kMostSpares) {
        spares_.push_back(std::move(memory));
    }
}

std::vector<std::uint8_t> UnitQueue::Spare() {
    const std::lock_guard lock(lock_);
    if (spares_.empty()) {
        return {};
    }
    std::vector<std::uint8_t> spare = std::move(spares_.back());
    spares_.pop_back();
    spare.clear();
    return spare;
}

std::optional<QueuedUnit> UnitQueue::Take() {
    std::unique_lock lock(lock_);
    changed_.wait(lock, [this] { return !open_ || (!held_ && !units_.empty()); });
    if (!open_) {
        return std::nullopt;
    }
    QueuedUnit unit = std::move(units_.front());
    units_.pop_front();
    bytes_ -= unit.memory.size();
    unit.discontinuity = std::exchange(cut_, false) || unit.discontinuity;
    return unit;
}

bool UnitQueue::SkipToRandomAccess(std::int64_t latest) {
    const std::lock_guard lock(lock_);
    const auto last = std::find_if(units_.rbegin(), units_.rend(), [&](const QueuedUnit& unit) {
        return unit.randomAccess && unit.pts && *unit.pts <= latest;
    });
    if (last == units_.rend()) {
        return false;
    }
    for (auto count = std::distance(last, units_.rend()) - 1; count > 0; --count) {
        DropFront();
    }
    cut_ = true; // the consumer drops the unit it holds
    return true;
}

bool UnitQueue::IsCurrent(const QueuedUnit& unit) const {
    const std::lock_guard lock(lock_);
    return open_ && unit.generation == generation_;
}

bool UnitQueue::AwaitsRandomAccess() const {
    const std::lock_guard lock(lock_);
    return open_ && awaiting_;
}

std::uint64_t UnitQueue::Dropped() const {
    const std::lock_guard lock(lock_);
    return dropped_;
}

} // namespace vistrame
