#pragma once

#include <functional>

namespace vistrame {

// A thread of a filter's own. Where there is no Windows, a plain one, so that what is built on it can be
// tested there.
//
// Threads    Start and Join from one thread at a time, never from the worker. The worker is a member of the
//            multithreaded apartment for its life, since it calls into other filters.
// Ownership  the worker holds a reference to the module it runs in until its very end: when a process
//            uninitialises COM, the servers are unloaded whatever still runs in them.
// Errors     Start throws std::bad_alloc when there is nothing left to make a thread of. What the work lets
//            out ends the thread and nothing else.
class WorkerThread {
public:
    WorkerThread() = default;
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;
    ~WorkerThread() { Join(); }

    // After a Join, or the first time.
    void Start(std::function<void()> work);
    // Waits for the work to end; harmless when nothing was started.
    void Join();
    bool IsStarted() const { return handle_ != nullptr; }

private:
    void* handle_ = nullptr; // the system's handle
};

} // namespace vistrame
