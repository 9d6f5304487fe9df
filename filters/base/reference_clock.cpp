#include "filters/base/reference_clock.h"

#include <algorithm>

#include "filters/base/guarded.h"
#include "filters/base/reference_time.h"
#include "contract/system_dlls.h"

namespace vistrame {

REFERENCE_TIME SystemTime() {
    LARGE_INTEGER frequency{};
    LARGE_INTEGER count{};
    (void)QueryPerformanceFrequency(&frequency); // neither fails on any supported system
    (void)QueryPerformanceCounter(&count);
    const auto seconds = count.QuadPart / frequency.QuadPart;
    const auto rest = count.QuadPart % frequency.QuadPart;
    return seconds * kUnitsPerSecond + rest * kUnitsPerSecond / frequency.QuadPart;
}

TimerFunctions& TimerFunctions::OfSystem() {
    static TimerFunctions functions{
        SystemFunction<decltype(timeBeginPeriod)>(L"winmm.dll", "timeBeginPeriod"),
        SystemFunction<decltype(timeEndPeriod)>(L"winmm.dll", "timeEndPeriod")};
    return functions;
}

namespace {

// The system's timer in its finest steps, while it is wanted.
class FineTimer {
public:
    FineTimer() = default;
    FineTimer(const FineTimer&) = delete;
    FineTimer& operator=(const FineTimer&) = delete;
    ~FineTimer() { Want(false); }

    void Want(bool wanted) {
        const TimerFunctions& timer = TimerFunctions::OfSystem();
        if (wanted && !granted_) {
            granted_ = timer.begin != nullptr && timer.begin(kMilliseconds) == TIMERR_NOERROR;
        } else if (!wanted && granted_) {
            (void)(timer.end != nullptr && timer.end(kMilliseconds)); // it was granted
            granted_ = false;
        }
    }

private:
    static constexpr UINT kMilliseconds = 1;
    bool granted_ = false;
};

} // namespace

ClockEngine::~ClockEngine() {
    Shutdown();
}

void ClockEngine::Shutdown() {
    {
        const std::lock_guard lock(lock_);
        stopping_ = true;
        if (changed_ != nullptr) {
            SetEvent(changed_);
        }
    }
    worker_.Join();
    if (changed_ != nullptr) {
        CloseHandle(changed_);
        changed_ = nullptr;
    }
}

HRESULT ClockEngine::AdviseTime(REFERENCE_TIME moment, HANDLE event, DWORD_PTR* cookie) {
    if (event == nullptr || cookie == nullptr) {
        return E_POINTER;
    }
    return moment > 0 ? Add({moment, 0, event, 0}, cookie) : E_INVALIDARG;
}

HRESULT ClockEngine::AdvisePeriodic(REFERENCE_TIME first, REFERENCE_TIME period, HANDLE semaphore,
                                    DWORD_PTR* cookie) {
    if (semaphore == nullptr || cookie == nullptr) {
        return E_POINTER;
    }
    return first > 0 && period > 0 ? Add({first, period, semaphore, 0}, cookie) : E_INVALIDARG;
}

HRESULT ClockEngine::Add(Request request, DWORD_PTR* cookie) {
    return Guarded([&] {
        const std::lock_guard lock(lock_);
        if (changed_ == nullptr) {
            changed_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
            if (changed_ == nullptr) {
                return E_OUTOFMEMORY;
            }
        }
        if (!worker_.IsStarted()) {
            worker_.Start([this] { Work(); });
        }
        request.cookie = nextCookie_++;
        requests_.push_back(request);
        *cookie = request.cookie;
        SetEvent(changed_);
        return S_OK;
    });
}

HRESULT ClockEngine::Unadvise(DWORD_PTR cookie) {
    return Guarded([&] {
        const std::lock_guard lock(lock_);
        const auto removed =
            std::erase_if(requests_, [&](const Request& request) { return request.cookie == cookie; });
        if (requests_.empty() && changed_ != nullptr) {
            SetEvent(changed_); // nobody waits any more
        }
        return removed != 0 ? S_OK : S_FALSE;
    });
}

DWORD ClockEngine::Serve(REFERENCE_TIME now) {
    const std::lock_guard lock(lock_);
    REFERENCE_TIME sleep = kLongestSleep * kUnitsPerMillisecond;
    for (Request& request : requests_) {
        if (request.due <= now) {
            if (request.period == 0) {
                SetEvent(request.target);
                continue;
            }
            ReleaseSemaphore(request.target, 1, nullptr);
            const REFERENCE_TIME missed = (now - request.due) / request.period;
            request.due += (missed + 1) * request.period;
        }
        sleep = std::min(sleep, request.due - now);
    }
    std::erase_if(requests_,
                  [&](const Request& request) { return request.period == 0 && request.due <= now; });
    if (stopping_) {
        return 0;
    }
    // Rounded up: a waiter who is woken early would ask again. With nobody waiting, a new request wakes us.
    return requests_.empty() ? INFINITE
                             : static_cast<DWORD>((sleep + kUnitsPerMillisecond - 1) / kUnitsPerMillisecond);
}

void ClockEngine::Work() {
    FineTimer timer;
    while (true) {
        const DWORD sleep = Serve(Now());
        if (sleep == 0) {
            return;
        }
        timer.Want(sleep != INFINITE);
        WaitForSingleObject(changed_, sleep);
    }
}

} // namespace vistrame
