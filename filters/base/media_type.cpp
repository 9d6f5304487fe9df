#include "filters/base/media_type.h"

#include <cstring>
#include <new>
#include <utility>

#include <uuids.h>

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

} // namespace vistrame
