#pragma once

#include <atomic>
#include <optional>
#include <string>

#include "analyzer/base/event_log.h"
#include "analyzer/base/handle.h"
#include "analyzer/base/outcome.h"
#include "analyzer/session/launch_line.h"

namespace vistrame {

// The running player: started, announced, commanded, ended.
//
// Threads    OnAnnounced on the thread of the window that is notified; SendDiscontinuity, Window and
//            ProcessId from any; the rest from one thread.
// Ownership  owns the process's handle. A player that does not end when asked is ended by force.
// Errors     Start says why not; a command that is not answered is logged and answers false.
class PlayerProcess {
public:
    explicit PlayerProcess(EventLog& log);

    // Starts the program and waits until it has announced its window.
    Outcome Start(const std::string& path, const LaunchLine& line);
    // The player's announcement has come.
    void OnAnnounced(HWND window);

    bool Running() const { return process_ && !IsSignalled(process_.get()); }
    HWND Window() const { return window_; }
    DWORD ProcessId() const { return processId_; }

    // Waits until the player has carried the command out.
    bool Send(std::uint32_t code, std::uint32_t argument);
    // For the stream's seams: does not wait longer than a moment.
    void SendDiscontinuity();

    // Its exit code, waiting at most that long; nothing while it runs.
    std::optional<std::uint32_t> WaitExit(std::uint32_t msec);
    void Terminate();
    // Forgets an ended player.
    void Release();

private:
    EventLog& log_;
    UINT message_;
    Handle process_;
    Handle announced_;
    std::atomic<HWND> window_ = nullptr;
    std::atomic<DWORD> processId_ = 0;
};

} // namespace vistrame
