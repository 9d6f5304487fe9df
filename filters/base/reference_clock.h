#pragma once

#include <cstdint>
#include <vector>

#include <windows.h>
#include <dshow.h>
#include <mmsystem.h>

#include "filters/base/com_object.h"
#include "filters/base/lock.h"
#include "filters/base/worker_thread.h"

namespace vistrame {

// Monotonic time of the system, 100 ns since some fixed moment.
REFERENCE_TIME SystemTime();

// How the system's timer is set to steps of a number of milliseconds and back: timeBeginPeriod and
// timeEndPeriod. They are looked up when first wanted, null where there are none; linked, the system would
// look for winmm.dll in the folder of our module first. Tests put their own here.
struct TimerFunctions {
    using Function = MMRESULT(WINAPI*)(UINT milliseconds);

    static TimerFunctions& OfSystem();

    Function begin;
    Function end;
};

// What a reference clock is besides its time: it wakes those who asked for a moment.
//
// Units      100 ns.
// Threads    every method from any thread. One thread of its own, from the first request on, wakes at least
//            every kLongestSleep, since the time it waits for may run at another rate than the system's; it
//            calls Now() with no lock held. A derived class must call Shutdown() in its destructor, because
//            that thread calls its Now(). While somebody waits, the system's timer runs in steps of a
//            millisecond instead of its usual 15.6.
// Ownership  borrows events and semaphores until they are unadvised or, for a single moment, signalled.
// Errors     E_INVALIDARG for moments and periods that make no sense, E_OUTOFMEMORY, S_FALSE for a request
//            that is not there.
class ClockEngine {
public:
    ClockEngine() = default;
    ClockEngine(const ClockEngine&) = delete;
    ClockEngine& operator=(const ClockEngine&) = delete;
    virtual ~ClockEngine();

    // Never runs backwards.
    virtual REFERENCE_TIME Now() = 0;

    HRESULT AdviseTime(REFERENCE_TIME moment, HANDLE event, DWORD_PTR* cookie);
    HRESULT AdvisePeriodic(REFERENCE_TIME first, REFERENCE_TIME period, HANDLE semaphore, DWORD_PTR* cookie);
    HRESULT Unadvise(DWORD_PTR cookie);

protected:
    void Shutdown();

private:
    struct Request {
        REFERENCE_TIME due;
        REFERENCE_TIME period; // 0: once, by event
        HANDLE target;
        DWORD_PTR cookie;
    };

    static constexpr DWORD kLongestSleep = 50; // milliseconds: a rate 0.1 % off is then late by 50 us at most

    HRESULT Add(Request request, DWORD_PTR* cookie);
    void Work();
    // Wakes who is due; returns the milliseconds to sleep.
    DWORD Serve(REFERENCE_TIME now);

    Lock lock_; // guards what follows
    std::vector<Request> requests_;
    DWORD_PTR nextCookie_ = 1;
    bool stopping_ = false;
    WorkerThread worker_;
    HANDLE changed_ = nullptr; // event: the worker looks again
};

// IReferenceClock of a filter that has a ClockEngine; the filter says which by Engine().
template <class Base>
class WithReferenceClock : public WithInterfaces<Base, IReferenceClock> {
public:
    using WithInterfaces<Base, IReferenceClock>::WithInterfaces;

    HRESULT STDMETHODCALLTYPE GetTime(REFERENCE_TIME* time) override {
        if (time == nullptr) {
            return E_POINTER;
        }
        *time = Engine().Now();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE AdviseTime(REFERENCE_TIME base, REFERENCE_TIME stream, HEVENT event,
                                         DWORD_PTR* cookie) override {
        return Engine().AdviseTime(base + stream, reinterpret_cast<HANDLE>(event), cookie);
    }
    HRESULT STDMETHODCALLTYPE AdvisePeriodic(REFERENCE_TIME start, REFERENCE_TIME period,
                                             HSEMAPHORE semaphore, DWORD_PTR* cookie) override {
        return Engine().AdvisePeriodic(start, period, reinterpret_cast<HANDLE>(semaphore), cookie);
    }
    HRESULT STDMETHODCALLTYPE Unadvise(DWORD_PTR cookie) override { return Engine().Unadvise(cookie); }

protected:
    virtual ClockEngine& Engine() = 0;
};

// The system's time as a clock.
class SystemClockEngine final : public ClockEngine {
public:
    ~SystemClockEngine() override { Shutdown(); }
    REFERENCE_TIME Now() override { return SystemTime(); }
};

} // namespace vistrame
