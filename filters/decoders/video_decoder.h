#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "filters/pictures/picture.h"
#include "transport/bytes.h"
#include "transport/coding.h"

namespace vistrame {

// What the decoder may leave out to catch up.
enum class VideoSkip : std::uint8_t {
    kNothing,
    kUnreferenced, // pictures that no other needs
    kAllButKeys,   // all that need another
};

// Turns the payload of a video elementary stream into pictures.
//
// The first picture that can be decoded on its own goes out at once and without a time, and once more when
// its turn comes: reordering would hold it back for some pictures, and after a change of programme every one
// counts. Until then nothing is shown: what refers to pictures that never came is a mess. But some streams
// hold no such picture at all, they are refreshed piece by piece; whoever decides that it has lasted long
// enough calls ShowAnything.
//
// Units      times 100 ns; a time belongs to the first access unit that starts in the data it comes with.
// Threads    one at a time (it may use some of its own inside).
// Ownership  borrows the sink for its life and each picture to the sink.
// Errors     none come out: damaged data is concealed or skipped.
class VideoDecoder {
public:
    VideoDecoder() = default;
    VideoDecoder(const VideoDecoder&) = delete;
    VideoDecoder& operator=(const VideoDecoder&) = delete;
    virtual ~VideoDecoder() = default;

    virtual void Decode(ByteSpan payload, std::optional<std::int64_t> time) = 0;
    // One picture that can be decoded by itself, in one piece and with nothing of the stream under way: it
    // goes out without a time, and is forgotten. False: none came of it.
    virtual bool DecodeAlone(ByteSpan picture) = 0;
    // Bytes are missing before what follows. References are kept: a concealed picture beats a frozen one.
    virtual void Gap() = 0;
    // Gives out the pictures held for reordering.
    virtual void Drain() = 0;
    // Forgets the stream; what follows begins anew.
    virtual void Flush() = 0;
    // While no picture has come out: from here on each does that decodes at all, unless the very next can be
    // decoded on its own. Until the stream begins anew.
    virtual void ShowAnything() = 0;
    virtual void SetSkip(VideoSkip skip) = 0;
};

// Null when the coding has no video decoder or there is no memory for it.
std::unique_ptr<VideoDecoder> MakeVideoDecoder(Coding coding, PictureSink& sink);

} // namespace vistrame
