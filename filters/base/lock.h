#pragma once

#include <mutex> // what holds a Lock: std::lock_guard, std::unique_lock
#ifdef _WIN32
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

#include <windows.h>
#else
#include <condition_variable>
#endif

namespace vistrame {

// A mutex and what waits under it, to be used like the standard library's. This compiler's own are made of
// semaphores and events: each wait and each wake is a call into the system (under Wine a question to its
// server), some hundred for each second of a stream. The system's slim ones stay in the process.
#ifdef _WIN32

class Lock {
public:
    Lock() = default;
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() = default;

    void lock() { AcquireSRWLockExclusive(&lock_); }
    bool try_lock() { return TryAcquireSRWLockExclusive(&lock_) != FALSE; }
    void unlock() { ReleaseSRWLockExclusive(&lock_); }

private:
    friend class Condition;
    SRWLOCK lock_ = SRWLOCK_INIT;
};

class Condition {
public:
    Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;
    ~Condition() = default;

    void notify_all() { WakeAllConditionVariable(&condition_); }

    // `hold` is a std::unique_lock of a Lock, held on call and return.
    template <class Hold, class Predicate>
    void wait(Hold& hold, Predicate predicate) {
        while (!predicate()) {
            (void)SleepConditionVariableSRW(&condition_, &hold.mutex()->lock_, INFINITE, 0);
        }
    }

    // Whether the predicate holds, at the latest when `longest` has passed.
    template <class Hold, class Predicate>
    bool wait_for(Hold& hold, std::chrono::steady_clock::duration longest, Predicate predicate) {
        using Msec = std::chrono::milliseconds;
        const auto end = std::chrono::steady_clock::now() + longest;
        while (!predicate()) {
            const auto rest = std::chrono::ceil<Msec>(end - std::chrono::steady_clock::now()).count();
            if (rest <= 0) {
                return false;
            }
            const auto msec = std::min<std::int64_t>(rest, std::numeric_limits<std::int32_t>::max());
            (void)SleepConditionVariableSRW(&condition_, &hold.mutex()->lock_, static_cast<DWORD>(msec), 0);
        }
        return true;
    }

private:
    CONDITION_VARIABLE condition_ = CONDITION_VARIABLE_INIT;
};

#else
using Lock = std::mutex;
using Condition = std::condition_variable;
#endif

} // namespace vistrame
