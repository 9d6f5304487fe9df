// The diagnostic log "C:\Vistrame.txt": opened once when the analyzer asks for it, never closed.
//
// Threads    main thread only; seek, write and flush are separate calls without a lock.
// Errors     silent: a log that could not be opened stays off.
#pragma once

namespace vistrame {

// Keeps the file's earlier contents.
void OpenDebugLog();

// Formats into at most 1023 characters, appends them to the log and flushes. Callers end their lines in
// "\r\n". Returns 0.
[[gnu::format(printf, 1, 2)]] int DebugLog(const char* format, ...);

} // namespace vistrame
