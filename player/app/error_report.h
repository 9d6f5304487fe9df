// Reports a playback failure in three places: the diagnostic log, a file of its own, a message box.
//
// Threads    main thread only; blocks it while the box is open.
// Errors     file failures are silent; the box appears all the same.
#pragma once

namespace vistrame {

// Returns 0, so that an operation can give up with `return ReportError(...)`.
int ReportError(int code, const char* text);

// Creates a new file named after ErrorLogDir and the local time. Its handle stays open until the process
// ends.
void WriteErrorLogFile(const char* text);

} // namespace vistrame
