// The settings of the current user, read once at start-up and constant afterwards.
//
// Threads    written by the main thread in ReadSettings before any other thread exists; read-only afterwards.
// Errors     a missing or unreadable value keeps its default; nothing is reported.
#pragma once

#include <cstdint>

namespace vistrame {

extern std::uint32_t UseVMR9;     // non-zero: VMR9 renders the video; 0: the Overlay Mixer
extern std::uint32_t MPEG2Codec;  // catalogue row for MPEG-2 video
extern std::uint32_t MPEG4Codec;  // catalogue row for H.264 and HEVC video
extern std::uint32_t KorvixCodec; // non-zero: the maker's demultiplexer in place of the platform's
extern std::uint32_t DebugOSD;    // non-zero: a second renderer input fed by the OSD source filter
extern std::uint32_t
    TerminateOnVideoStall; // stored and consulted nowhere: the watchdog acts whatever it says
extern char
    ErrorLogDir[260]; // prefix of the error-log files, trailing backslash included; default "C:\ErrorLogs\"

void ReadSettings();

// AudioUnmuteMsec, milliseconds of silence before a fade-in; 0 when absent. Read afresh at every call.
std::uint32_t ReadAudioUnmuteMsec();

} // namespace vistrame
