#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "analyzer/base/handle.h"

namespace vistrame {

// Server's end of the stream pipe, for one client.
//
// Threads    Cancel from any; everything else from one thread at a time.
// Errors     false and GetLastError from Create; a broken pipe reads as not connected.
class PipeServer {
public:
    PipeServer();

    // Makes the pipe, so that a client started after this finds it.
    bool Create(std::uint32_t pipeId);
    void Close();
    // Whether a client has come and not gone again; does not wait.
    bool Connected();
    // Waits until the pipe has taken everything. False: the client is gone, or Cancel was called.
    bool Write(std::span<const std::uint8_t> bytes);
    // Frees a Write that waits, now and until the next Create.
    void Cancel() { (void)SetEvent(cancel_.get()); } // fails only on a handle that is none

private:
    Handle pipe_;
    Handle done_; // of the one operation under way
    Handle cancel_;
    OVERLAPPED operation_{};
    bool connecting_ = false;
    bool connected_ = false;
};

} // namespace vistrame
