// The eight numbers the analyzer starts the player with, and where they begin.
//
// Form       "%08X %08X %08X %d %d %d %d %d": three hexadecimal numbers, then five decimal ones.
// Threads    written by the main thread before any other thread exists; read-only afterwards.
// Errors     the scan ends at the first field that is no number; fields it does not reach keep their value.
#pragma once

#include <cstdint>

namespace vistrame {

extern std::uint32_t ParentWindow; // field 1: the analyzer's window handle, 0: none
extern std::uint32_t PipeId;       // field 3: number in the stream pipe's name
extern std::int32_t
    ClockSource; // field 5: 1 demultiplexer, 2 audio renderer, 3 feed filter, else the graph's own
extern std::int32_t VideoType; // field 7: 0 MPEG-2, 1 H.264, else HEVC
extern std::int32_t AudioType; // field 8: 0 MPEG audio, 1 AC-3, 2 AAC, 3 E-AC-3, else none

// The fields that only start-up itself consults.
struct StartupFields {
    std::uint32_t placeholder = 0; // field 2: overwritten by the pipe connection
    std::int32_t reserved = 0;     // field 4: ignored
    std::int32_t openDebugLog = 0; // field 6: non-zero opens the diagnostic log
};

// What follows the program's name in the process's whole command line, without the blanks between. A name in
// quotes may hold blanks; one without ends at the first. Bytes of any code page count as name: the
// toolchain's start code takes those above 127 for blanks and would hand over a piece of the path.
const char* ArgumentsBehindProgram(const char* wholeCommandLine);

// Scans the command line into the variables above and returns the rest.
StartupFields ScanLaunchFields(const char* commandLine);

} // namespace vistrame
