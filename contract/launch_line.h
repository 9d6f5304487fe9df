// The command line that the analyzer starts the player with: three hexadecimal numbers and five decimal ones,
// separated by blanks.
//
//   1 the analyzer's window, the player's parent     5 clock source
//   2 nothing                                        6 not 0: the player writes its diagnostic log
//   3 number of the stream pipe                      7 coding of the video
//   4 nothing                                        8 coding of the audio
#pragma once

#include <cstdint>

namespace vistrame {

inline constexpr char kLaunchLineFormat[] = "%08X %08X %08X %d %d %d %d %d"; // for printf and scanf

// Clock source: whose clock the graph follows; any other number leaves it its own.
inline constexpr std::int32_t kClockFromDemultiplexer = 1;
inline constexpr std::int32_t kClockFromAudioRenderer = 2;
inline constexpr std::int32_t kClockFromFeedFilter = 3;

// Coding of the video; every other number means HEVC, and 2 is what is sent for it.
inline constexpr std::int32_t kVideoTypeMpeg2 = 0; // MPEG-1 too
inline constexpr std::int32_t kVideoTypeH264 = 1;
inline constexpr std::int32_t kVideoTypeHevc = 2;

// Coding of the audio; any other number: none that a decoder is made for.
inline constexpr std::int32_t kAudioTypeMpeg = 0; // layers 1 and 2
inline constexpr std::int32_t kAudioTypeAc3 = 1;
inline constexpr std::int32_t kAudioTypeAac = 2; // AAC, framed by LOAS or ADTS: the stream tells
inline constexpr std::int32_t kAudioTypeEac3 = 3;

} // namespace vistrame
