#include "graphview/media_type_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <numeric>

#include <dvdmedia.h>
#include <mmreg.h>

namespace vistrame {
namespace {

constexpr GUID Numbered(DWORD number) {
    return {number, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

struct Name {
    GUID id;
    const char* text;
};

const Name kNames[] = {
    {MEDIATYPE_Video, "video"},
    {MEDIATYPE_Audio, "audio"},
    {MEDIATYPE_Stream, "stream"},
    {GUID_NULL, "any"},
    {{0xe06d802c, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}}, "AC-3"},
    {{0xe06d802b, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}}, "MPEG-2 audio"},
    {{0xe06d8026, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}}, "MPEG-2 video"},
    {{0xe06d8023, 0xdb46, 0x11cf, {0xb4, 0xd1, 0x00, 0x80, 0x5f, 0x6c, 0xbb, 0xea}},
     "MPEG-2 transport stream"},
    {{0xa7fb87af, 0x2d02, 0x42fb, {0xa4, 0xd4, 0x05, 0xcd, 0x93, 0x84, 0x3b, 0xdd}}, "E-AC-3"},
    {MEDIASUBTYPE_RGB32, "RGB32"},
    {MEDIASUBTYPE_RGB24, "RGB24"},
    {MEDIASUBTYPE_ARGB32, "ARGB32"},
    {Numbered(WAVE_FORMAT_PCM), "PCM"},
    {Numbered(WAVE_FORMAT_IEEE_FLOAT), "PCM (floating point)"},
    {Numbered(WAVE_FORMAT_MPEG), "MPEG-1 audio"},
    {Numbered(0x00FF), "AAC"},
    {Numbered(0x1602), "AAC in LATM"},
};

// Its name, its FourCC, or the identifier itself.
std::string NameOf(const GUID& id) {
    if (const auto* const known = std::ranges::find(kNames, id, &Name::id); known != std::end(kNames)) {
        return known->text;
    }
    std::array<char, 5> letters{};
    std::memcpy(letters.data(), &id.Data1, 4);
    const bool printable =
        std::all_of(letters.begin(), letters.begin() + 4, [](char c) { return c > 0x20 && c < 0x7F; });
    return id == Numbered(id.Data1) && printable ? letters.data() : GuidText(id);
}

// The format block as a structure, when it is long enough for it.
template <typename Format>
const Format* As(const AM_MEDIA_TYPE& type) {
    return type.pbFormat != nullptr && type.cbFormat >= sizeof(Format)
               ? reinterpret_cast<const Format*>(type.pbFormat)
               : nullptr;
}

std::string Picture(const BITMAPINFOHEADER& bitmap, REFERENCE_TIME duration, DWORD aspectX, DWORD aspectY) {
    std::array<char, 160> text{};
    int length =
        std::snprintf(text.data(), text.size(), " %ld x %ld", bitmap.biWidth, std::abs(bitmap.biHeight));
    const auto add = [&](const char* format, auto... values) {
        length += std::snprintf(text.data() + length, text.size() - static_cast<std::size_t>(length), format,
                                values...);
    };
    if (aspectX != 0 && aspectY != 0) {
        const DWORD common = std::gcd(aspectX, aspectY);
        add(", shape %lu:%lu", aspectX / common, aspectY / common);
    }
    if (duration > 0) {
        add(", %.6g pictures/s", 1e7 / static_cast<double>(duration)); // durations are in 100 ns
    }
    if (bitmap.biBitCount != 0) {
        add(", %u bits", unsigned{bitmap.biBitCount});
    }
    return text.data();
}

std::string Sound(const WAVEFORMATEX& wave) {
    std::array<char, 96> text{};
    const int length = std::snprintf(text.data(), text.size(), " %lu Hz, %u channels", wave.nSamplesPerSec,
                                     unsigned{wave.nChannels});
    if (wave.wBitsPerSample != 0) {
        (void)std::snprintf(text.data() + length, text.size() - static_cast<std::size_t>(length), ", %u bits",
                            unsigned{wave.wBitsPerSample});
    }
    return text.data();
}

std::string FormatText(const AM_MEDIA_TYPE& type) {
    // Both MPEG blocks begin with the header that their names say.
    if (type.formattype == FORMAT_VideoInfo || type.formattype == FORMAT_MPEGVideo) {
        const auto* const video = As<VIDEOINFOHEADER>(type);
        return video != nullptr ? Picture(video->bmiHeader, video->AvgTimePerFrame, 0, 0) : "";
    }
    if (type.formattype == FORMAT_VideoInfo2 || type.formattype == FORMAT_MPEG2Video) {
        const auto* const video = As<VIDEOINFOHEADER2>(type);
        return video != nullptr ? Picture(video->bmiHeader, video->AvgTimePerFrame, video->dwPictAspectRatioX,
                                          video->dwPictAspectRatioY) +
                                      (video->dwInterlaceFlags != 0 ? ", interlaced" : "")
                                : "";
    }
    if (type.formattype == FORMAT_WaveFormatEx) {
        const auto* const wave = As<WAVEFORMATEX>(type);
        return wave != nullptr ? Sound(*wave) : "";
    }
    return "";
}

} // namespace

std::string Utf8(const wchar_t* text) {
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string converted(bytes > 0 ? static_cast<std::size_t>(bytes) : 1, '\0');
    (void)WideCharToMultiByte(CP_UTF8, 0, text, -1, converted.data(), bytes, nullptr, nullptr);
    converted.pop_back(); // the end of the text
    return converted;
}

std::string GuidText(const GUID& id) {
    std::array<wchar_t, 39> text{}; // braces, 32 digits, 4 dashes and the end
    (void)StringFromGUID2(id, text.data(), static_cast<int>(text.size())); // cannot fail: the buffer fits
    return Utf8(text.data());
}

std::string Describe(const AM_MEDIA_TYPE& type) {
    return NameOf(type.majortype) + " " + NameOf(type.subtype) + FormatText(type);
}

} // namespace vistrame
