#pragma once

#include <windows.h>

namespace vistrame {

// Subtypes of media types, as far as the platform's headers do not name them.

constexpr DWORD FourCc(const char (&name)[5]) {
    return MAKEFOURCC(name[0], name[1], name[2], name[3]);
}

// The standard identifier of a FourCC or of a wave format tag.
constexpr GUID NumberedSubtype(DWORD number) {
    return {number, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}
constexpr GUID FourCcSubtype(const char (&name)[5]) {
    return NumberedSubtype(FourCc(name));
}

// Wave format tags.
inline constexpr WORD kTagLoas = 0x1602;   // AAC in LATM, framed by LOAS
inline constexpr WORD kTagRawAac = 0x00FF; // what decoders know the format block of AAC by

inline constexpr GUID kDolbyDigitalPlus = {
    0xa7fb87af, 0x2d02, 0x42fb, {0xa4, 0xd4, 0x05, 0xcd, 0x93, 0x84, 0x3b, 0xdd}};

} // namespace vistrame
