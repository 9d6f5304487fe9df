// The stream channel: the named pipe on which the analyzer writes the transport stream, and the thread that
// hands its bytes to the feed filter.
//
// Units      bytes, cut where the reads happen to end; nothing looks inside.
// Threads    the reader owns PipeHandle and the buffer once it runs. It holds FeedLock through each delivery
// and
//            drops what it reads while no graph exists, so the pipe is always drained.
// Errors     a failed read ends the process at once: that is how the player follows an analyzer that is gone.
#pragma once

#include <cstdint>
#include <windows.h>

namespace vistrame {

// Connects to "\\.\pipe\QVRA<id>"; blocks up to two seconds while the analyzer is not ready.
// INVALID_HANDLE_VALUE when it never is.
HANDLE OpenStreamPipe(std::uint32_t pipeId);

// The reader's thread, stored after each read; for a look in the debugger.
extern DWORD ReaderThreadId;

// Once, after the announcement. With an unconnected pipe the process ends at the first read.
void StartPipeReader();

} // namespace vistrame
