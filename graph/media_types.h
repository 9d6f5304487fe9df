// The media types that fix what the demultiplexers' output pins carry.
//
// Ownership  a MediaType owns its format block; the pointer from Get() is good as long as the object.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "graph/class_id.h"

namespace vistrame {

class MediaType {
public:
    MediaType(const ClassId& major, const ClassId& subtype);
    MediaType(const MediaType&) = delete;
    MediaType& operator=(const MediaType&) = delete;
    MediaType(MediaType&&) = default; // the block stays where it is
    MediaType& operator=(MediaType&&) = default;
    ~MediaType() = default;

    // `declaredLength`, in bytes, is at most the block's.
    void SetFormat(const ClassId& formatType, std::vector<BYTE> block, ULONG declaredLength);

    AM_MEDIA_TYPE* Get() { return &type_; }

private:
    AM_MEDIA_TYPE type_{};
    std::vector<BYTE> block_;
};

// For the platform demultiplexer's "Video Out".
MediaType PlatformVideoType(std::int32_t videoType);

// For the connection of the maker's demultiplexer to the video decoder; empty: the pins agree by themselves.
std::optional<MediaType> KorvixVideoType(std::int32_t videoType);

// For the platform demultiplexer's "Audio Out"; the MPEG-2 row in force decides where it starts from.
MediaType PlatformAudioType(std::int32_t audioType, std::uint32_t mpeg2Codec);

} // namespace vistrame
