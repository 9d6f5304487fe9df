#include "filters/base/worker_thread.h"

#include <memory>
#include <new>
#include <utility>

#include <objbase.h>

#include "filters/base/guarded.h"

namespace vistrame {

namespace {

class MultithreadedApartment {
public:
    MultithreadedApartment() : member_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    MultithreadedApartment(const MultithreadedApartment&) = delete;
    MultithreadedApartment& operator=(const MultithreadedApartment&) = delete;
    ~MultithreadedApartment() {
        if (member_) {
            CoUninitialize();
        }
    }

private:
    const bool member_; // not without memory; the work is done all the same
};

struct Task {
    std::function<void()> work;
    HMODULE module = nullptr; // referenced
};

DWORD WINAPI RunTask(void* argument) {
    HMODULE module = nullptr;
    {
        const std::unique_ptr<Task> task(static_cast<Task*>(argument));
        module = task->module;
        const MultithreadedApartment apartment;
        (void)Guarded([&] {
            task->work();
            return S_OK;
        });
    }
    FreeLibraryAndExitThread(module, 0); // nothing of this module may run behind its last reference
}

} // namespace

void WorkerThread::Start(std::function<void()> work) {
    auto task = std::make_unique<Task>(Task{.work = std::move(work)});
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&RunTask),
                           &task->module) == FALSE) {
        throw std::bad_alloc();
    }
    handle_ = CreateThread(nullptr, 0, RunTask, task.get(), 0, nullptr);
    if (handle_ == nullptr) {
        FreeLibrary(task->module);
        throw std::bad_alloc();
    }
    (void)task.release(); // the worker's now
}

void WorkerThread::Join() {
    if (handle_ != nullptr) {
        WaitForSingleObject(handle_, INFINITE);
        CloseHandle(handle_);
        handle_ = nullptr;
    }
}

} // namespace vistrame
