#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

#include "filters/base/guarded.h"
#include "filters/base/lock.h"
#include "filters/base/worker_thread.h"

namespace vistrame {

// A bounded queue with one worker thread: decouples whoever produces from whoever may block downstream.
//
// Units      each item has a weight (bytes, usually); the queue is full when count or weight would pass its
//            bound. An item heavier than the whole bound is taken by an empty queue.
// Threads    TryPush, Clear and the counters from any thread; Start and Stop from one, never from the worker.
//            The handler runs on the worker without the queue's lock.
// Ownership  items move in and on to the handler.
// Errors     a full or stopped queue refuses the item, and so does one without memory for it; the caller
//            counts what it drops. An item whose handling throws is lost, the next is handled. Start throws
//            std::bad_alloc without memory for a thread.
template <class Item>
class WorkQueue {
public:
    WorkQueue(std::size_t maxCount, std::size_t maxWeight) : maxCount_(maxCount), maxWeight_(maxWeight) {}
    WorkQueue(const WorkQueue&) = delete;
    WorkQueue& operator=(const WorkQueue&) = delete;
    ~WorkQueue() { Stop(); }

    static constexpr std::chrono::milliseconds kIdle{100};

    // `idle` runs on the worker as the handler does, once when kIdle has passed since the last item; again
    // after as long while it answers false.
    void Start(std::function<void(Item&)> handler, std::function<bool()> idle = {}) {
        Stop();
        {
            const std::lock_guard lock(lock_);
            running_ = true;
        }
        worker_.Start([this, handler = std::move(handler), idle = std::move(idle)] { Work(handler, idle); });
    }

    // Drops what waits and joins the worker. Free the handler first if it may be blocked.
    void Stop() {
        BeginStop();
        worker_.Join();
    }
    // The first half of Stop: from here on nothing is taken and nothing further is handled.
    void BeginStop() {
        const std::lock_guard lock(lock_);
        running_ = false;
        ClearLocked();
        changed_.notify_all();
    }

    bool TryPush(Item item, std::size_t weight) {
        const std::lock_guard lock(lock_);
        const bool fits = items_.size() < maxCount_ && (items_.empty() || weight_ + weight <= maxWeight_);
        if (!running_ || !fits) {
            return false;
        }
        const HRESULT taken = Guarded([&] {
            items_.emplace_back(std::move(item), weight);
            return S_OK;
        });
        if (FAILED(taken)) {
            return false;
        }
        weight_ += weight;
        changed_.notify_all();
        return true;
    }

    void Clear() {
        const std::lock_guard lock(lock_);
        ClearLocked();
    }

    // Waits until nothing waits and the handler is not running.
    void WaitIdle() {
        std::unique_lock lock(lock_);
        changed_.wait(lock, [this] { return items_.empty() && !busy_; });
    }

    bool Running() const {
        const std::lock_guard lock(lock_);
        return running_;
    }
    std::size_t Count() const {
        const std::lock_guard lock(lock_);
        return items_.size();
    }
    std::size_t Weight() const {
        const std::lock_guard lock(lock_);
        return weight_;
    }

private:
    void ClearLocked() {
        items_.clear();
        weight_ = 0;
        changed_.notify_all();
    }

    void Work(const std::function<void(Item&)>& handler, const std::function<bool()>& idle) {
        std::unique_lock lock(lock_);
        bool waitsForIdle = false;
        while (true) {
            const auto something = [this] { return !running_ || !items_.empty(); };
            while (waitsForIdle && !changed_.wait_for(lock, kIdle, something)) {
                lock.unlock();
                (void)Guarded([&] {
                    waitsForIdle = !idle();
                    return S_OK;
                });
                lock.lock();
            }
            changed_.wait(lock, something);
            if (!running_) {
                return;
            }
            Item item = std::move(items_.front().first);
            weight_ -= items_.front().second;
            items_.pop_front();
            busy_ = true;
            lock.unlock();
            (void)Guarded([&] {
                handler(item);
                return S_OK;
            });
            lock.lock();
            busy_ = false;
            waitsForIdle = idle != nullptr;
            changed_.notify_all();
        }
    }

    const std::size_t maxCount_;
    const std::size_t maxWeight_;
    mutable Lock lock_; // guards what follows
    Condition changed_;
    std::deque<std::pair<Item, std::size_t>> items_;
    std::size_t weight_ = 0;
    bool running_ = false;
    bool busy_ = false;
    WorkerThread worker_; // Start and Stop only
};

} // namespace vistrame
