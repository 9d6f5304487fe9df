#include "filters/base/media_type.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include <dvdmedia.h>
#include <uuids.h>

#include "filters/base/subtypes.h"

namespace vistrame {

MediaType::MediaType() noexcept : type_{} {
    type_.bTemporalCompression = FALSE;
    type_.bFixedSizeSamples = TRUE;
    type_.lSampleSize = 1; // as the platform's own default: a byte stream
}

MediaType::MediaType(const GUID& major, const GUID& sub) noexcept : MediaType() {
    type_.majortype = major;
    type_.subtype = sub;
}

MediaType::MediaType(const AM_MEDIA_TYPE& type) : type_(type) {
    type_.pUnk = nullptr;
    type_.pbFormat = nullptr;
    type_.cbFormat = 0;
    if (type.pbFormat != nullptr && type.cbFormat > 0) {
        SetFormat(type.formattype, std::as_bytes(std::span(type.pbFormat, type.cbFormat)));
    }
}

MediaType::~MediaType() {
    CoTaskMemFree(type_.pbFormat);
}

void MediaType::SetFormat(const GUID& formatType, std::span<const std::byte> block) {
    auto* copy = static_cast<BYTE*>(block.empty() ? nullptr : CoTaskMemAlloc(block.size()));
    if (copy == nullptr && !block.empty()) {
        throw std::bad_alloc();
    }
    if (copy != nullptr) {
        std::memcpy(copy, block.data(), block.size());
    }
    CoTaskMemFree(type_.pbFormat);
    type_.pbFormat = copy;
    type_.cbFormat = static_cast<ULONG>(block.size());
    type_.formattype = formatType;
}

std::span<const std::byte> MediaType::Format() const {
    return std::as_bytes(std::span(type_.pbFormat, type_.cbFormat));
}

bool MediaType::Matches(const AM_MEDIA_TYPE& pattern) const {
    const auto fits = [](const GUID& own, const GUID& wanted) {
        return wanted == GUID_NULL || own == wanted;
    };
    return fits(type_.majortype, pattern.majortype) && fits(type_.subtype, pattern.subtype) &&
           fits(type_.formattype, pattern.formattype);
}

bool MediaType::operator==(const MediaType& other) const {
    return type_.majortype == other->majortype && type_.subtype == other->subtype &&
           type_.formattype == other->formattype && type_.cbFormat == other->cbFormat &&
           (type_.cbFormat == 0 || std::memcmp(type_.pbFormat, other->pbFormat, type_.cbFormat) == 0);
}

bool MediaType::IsPartial(const AM_MEDIA_TYPE& type) {
    return type.majortype == GUID_NULL || type.subtype == GUID_NULL || type.formattype == GUID_NULL;
}

HRESULT MediaType::CopyTo(AM_MEDIA_TYPE* target) const {
    if (target == nullptr) {
        return E_POINTER;
    }
    try {
        MediaType copy(*this);
        *target = std::exchange(copy.type_, AM_MEDIA_TYPE{});
        return S_OK;
    } catch (const std::bad_alloc&) {
        *target = AM_MEDIA_TYPE{};
        return E_OUTOFMEMORY;
    }
}

AM_MEDIA_TYPE* MediaType::NewTaskCopy() const {
    auto* copy = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    if (copy != nullptr && FAILED(CopyTo(copy))) {
        CoTaskMemFree(copy);
        copy = nullptr;
    }
    return copy;
}

void MediaType::FreeTaskCopy(AM_MEDIA_TYPE* type) {
    if (type == nullptr) {
        return;
    }
    CoTaskMemFree(type->pbFormat);
    if (type->pUnk != nullptr) {
        type->pUnk->Release();
    }
    CoTaskMemFree(type);
}

void MediaType::Swap(MediaType& other) noexcept {
    std::swap(type_, other.type_);
}

namespace {

struct NamedGuid {
    const GUID& id;
    std::string_view name;
};
const NamedGuid kNames[] = {
    {GUID_NULL, "any"},
    {MEDIATYPE_Video, "video"},
    {MEDIATYPE_Audio, "audio"},
    {MEDIATYPE_Stream, "stream"},
    {MEDIASUBTYPE_MPEG2_TRANSPORT, "MPEG-2 TS"},
    {MEDIASUBTYPE_MPEG2_VIDEO, "MPEG-2"},
    {MEDIASUBTYPE_MPEG2_AUDIO, "MPEG"},
    {MEDIASUBTYPE_DOLBY_AC3, "AC-3"},
    {kDolbyDigitalPlus, "E-AC-3"},
    {MEDIASUBTYPE_PCM, "PCM"},
    {MEDIASUBTYPE_RGB32, "RGB32"},
    {MEDIASUBTYPE_ARGB32, "ARGB32"},
    {MEDIASUBTYPE_RGB24, "RGB24"},
};

// By name, as a FourCC, or else its first number.
TraceLine& operator<<(TraceLine& line, const GUID& id) noexcept {
    for (const NamedGuid& named : kNames) {
        if (named.id == id) {
            return line << named.name;
        }
    }
    char letters[4];
    std::memcpy(letters, &id.Data1, sizeof(letters));
    const std::string_view fourCc(letters, sizeof(letters));
    const bool printable = std::ranges::all_of(fourCc, [](char c) { return c > ' ' && c < 0x7F; });
    return printable && id == NumberedSubtype(id.Data1) ? line << fourCc
                                                        : line << Hex{static_cast<std::uint32_t>(id.Data1)};
}

} // namespace

TraceLine& operator<<(TraceLine& line, const MediaType& type) noexcept {
    line << type->majortype << " " << type->subtype;
    if (const auto* sound = type.FormatAs<WAVEFORMATEX>(FORMAT_WaveFormatEx)) {
        return line << " " << sound->nSamplesPerSec << " Hz x" << sound->nChannels;
    }
    const auto* plain = type.FormatAs<VIDEOINFOHEADER>(FORMAT_VideoInfo);
    const auto* full = type.FormatAs<VIDEOINFOHEADER2>(FORMAT_VideoInfo2);
    full = full != nullptr ? full : type.FormatAs<VIDEOINFOHEADER2>(FORMAT_MPEG2Video); // begins with one
    if (plain == nullptr && full == nullptr) {
        return line;
    }
    const BITMAPINFOHEADER& bitmap = full != nullptr ? full->bmiHeader : plain->bmiHeader;
    return line << " " << bitmap.biWidth << "x" << bitmap.biHeight;
}

} // namespace vistrame
