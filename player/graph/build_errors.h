// What a failed graph build tells the user. The analyzer's users know the failures by these numbers and
// words, so neither changes; one number stands for several texts.
#pragma once

namespace vistrame {

struct BuildError {
    int code;
    const char* text;
};

// The graph itself
inline constexpr BuildError kNoGraphBuilder{101, "Unable to create graph builder"};
inline constexpr BuildError kNoMediaControl{102, "Unable to get media control interface"};

// Decoders for MPEG-2 video
inline constexpr BuildError kNoIntervideoMpeg2{103, "Intervideo MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kNoCyberlinkMpeg2{104, "Cyberlink MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kNoElecardMpeg2{105, "Elecard MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kNoBitcontrolMpeg2{106, "Bitcontrol MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kNoMainconceptMpeg2{107, "Mainconcept MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kNoPowerDvd67Mpeg2{108, "PowerDVD 6/7 MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kNoSonicMpeg2{109, "Sonic Cinemaster MPEG2 Codecs could not be loaded"};
inline constexpr BuildError kInvalidMpeg2Codec{110, "Invalid MPEG2 Codec selected\r\n"};

// Decoders for H.264 and HEVC video
inline constexpr BuildError kNoPowerDvd6Mpeg4{104, "PowerDVD 6 MPEG4 Codecs could not be loaded"};
inline constexpr BuildError kNoPowerDvd8Mpeg4{104, "PowerDVD 8 MPEG4 Codecs could not be loaded"};
inline constexpr BuildError kNoMainconceptMpeg4{104, "Mainconcept MPEG4 Codecs could not be loaded"};
inline constexpr BuildError kNoArcsoftMpeg4{104, "Arcsoft MPEG4 Codecs could not be loaded"};

// Decoders for all of them
inline constexpr BuildError kNoFfdshow{104, "FFDShow Codecs could not be loaded"};
inline constexpr BuildError kNoMicrosoft{104, "Microsoft Codecs could not be loaded"};
inline constexpr BuildError kNoVideoCodec{104, "No MPEG4 video codec found"}; // said of MPEG-2 as well
inline constexpr BuildError kNoHevcCodec{104, "No HEVC video codec found"};
inline constexpr BuildError kNoAudioCodec{104, "No matching audio codec found"};
inline constexpr BuildError kNoDecoderPins{
    111, "The video Directshow decoder filter did not expose the expected input/output pins."};

// Feed filter and demultiplexer
inline constexpr BuildError kNoFeedFilter{112, "Korvix TS Feedfilter could not be loaded"};
inline constexpr BuildError kNoDemultiplexer{130,
                                             "Unable to load MPEG2 Demux"}; // always followed by the next
inline constexpr BuildError kNoDemultiplexerControl{113, "Unable to load DirectX MPEG2 Demultiplexer"};

// Video renderer and overlay
inline constexpr BuildError kNoVmr9{115, "Unable to create VMR9 filter"};
inline constexpr BuildError kNoVmr9Interfaces{116, "Unable to query VMR9 interface(s)"};
inline constexpr BuildError kNoOsdSource{-1, "Unable to create OSD filter"};
inline constexpr BuildError kNoDirect3DDevice{117, "Unable to create Direct3D Device instance\r\n"};
inline constexpr BuildError kNoDirect3DSurface{118, "Unable to create Direct3D surface\r\n"};

} // namespace vistrame
