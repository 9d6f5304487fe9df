#pragma once

#include <cstddef>
#include <span>

#include <windows.h>
#include <dshow.h>

#include "filters/base/trace.h"

namespace vistrame {

// An AM_MEDIA_TYPE that owns its format block.
//
// Ownership  the format block is copied in and out, always task memory; pUnk is not carried.
// Errors     throws std::bad_alloc when there is no memory for the format block.
class MediaType {
public:
    // All identifiers null, no format block: the type that matches any.
    MediaType() noexcept;
    MediaType(const GUID& major, const GUID& sub) noexcept;
    explicit MediaType(const AM_MEDIA_TYPE& type);
    MediaType(const MediaType& other) : MediaType(other.type_) {}
    MediaType(MediaType&& other) noexcept : MediaType() { Swap(other); }
    MediaType& operator=(MediaType other) noexcept {
        Swap(other);
        return *this;
    }
    ~MediaType();

    const AM_MEDIA_TYPE& Get() const { return type_; }
    const AM_MEDIA_TYPE* operator->() const { return &type_; }
    // For fields other than the format block.
    AM_MEDIA_TYPE& Fields() { return type_; }

    // Replaces the format block by a copy.
    void SetFormat(const GUID& formatType, std::span<const std::byte> block);
    template <class Format>
    void SetFormat(const GUID& formatType, const Format& format) {
        SetFormat(formatType, std::as_bytes(std::span(&format, 1)));
    }

    // The block as a structure, when it is of that format type and long enough; else null.
    template <class Format>
    const Format* FormatAs(const GUID& formatType) const {
        return type_.formattype == formatType && type_.pbFormat != nullptr && type_.cbFormat >= sizeof(Format)
                   ? reinterpret_cast<const Format*>(type_.pbFormat)
                   : nullptr;
    }
    std::span<const std::byte> Format() const;

    // A null identifier of `pattern` matches any: major type, subtype, format type.
    bool Matches(const AM_MEDIA_TYPE& pattern) const;
    // Same identifiers and same format block, byte for byte.
    bool operator==(const MediaType& other) const;
    // Some of the three identifiers is null.
    static bool IsPartial(const AM_MEDIA_TYPE& type);

    // Copies into the caller's structure, whose format block the caller then frees as task memory.
    HRESULT CopyTo(AM_MEDIA_TYPE* target) const;
    // A copy wholly in task memory, as enumerators and samples hand out; null without memory.
    AM_MEDIA_TYPE* NewTaskCopy() const;
    // Frees what NewTaskCopy, IMediaSample::GetMediaType and enumerators hand out; null is allowed.
    static void FreeTaskCopy(AM_MEDIA_TYPE* type);

private:
    void Swap(MediaType& other) noexcept;

    AM_MEDIA_TYPE type_;
};

// In short: kind, coding or layout, size or rate.
TraceLine& operator<<(TraceLine& line, const MediaType& type) noexcept;

} // namespace vistrame
