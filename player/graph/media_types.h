// The media types that fix what the demultiplexers' output pins carry.
//
// Ownership  a FixedMediaType owns its format block; the pointer from Get() is good as long as the object.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "player/graph/class_id.h"

namespace vistrame {

class FixedMediaType {
public:
    FixedMediaType(const ClassId& major, const ClassId& subtype);
    FixedMediaType(const FixedMediaType&) = delete;
    FixedMediaType& operator=(const FixedMediaType&) = delete;
    FixedMediaType(FixedMediaType&&) = default; // the block stays where it is
    FixedMediaType& operator=(FixedMediaType&&) = default;
    ~FixedMediaType() = default;

    // `declaredLength`, in bytes, is at most the block's.
    void SetFormat(const ClassId& formatType, std::vector<BYTE> block, ULONG declaredLength);

    AM_MEDIA_TYPE* Get() { return &type_; }

private:
    AM_MEDIA_TYPE type_{};
    std::vector<BYTE> block_;
};

// For the platform demultiplexer's "Video Out".
FixedMediaType PlatformVideoType(std::int32_t videoType);

// For the connection of the maker's demultiplexer to the video decoder; empty: the pins agree by themselves.
std::optional<FixedMediaType> KorvixVideoType(std::int32_t videoType);

// For the platform demultiplexer's "Audio Out"; the MPEG-2 row in force decides where it starts from.
FixedMediaType PlatformAudioType(std::int32_t audioType, std::uint32_t mpeg2Codec);

} // namespace vistrame
