#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "transport/bytes.h"
#include "transport/coding.h"

namespace vistrame {

// How decoded sound is wanted: interleaved 16-bit samples.
struct SoundFormat {
    int rate = 48'000; // Hz; what broadcast uses nearly always
    int channels = 2;  // 1 or 2

    bool operator==(const SoundFormat&) const = default;
};

// Where a decoder puts its sound, in order.
class SoundSink {
public:
    SoundSink() = default;
    SoundSink(const SoundSink&) = delete;
    SoundSink& operator=(const SoundSink&) = delete;
    virtual ~SoundSink() = default;

    // `samples` is borrowed until the call returns. `time` is that of its first sample, 100 ns, and empty
    // when the stream gave none for this frame.
    virtual void OnSound(std::span<const std::int16_t> samples, std::optional<std::int64_t> time) = 0;
};

// Turns the payload of an audio elementary stream into sound of one format, whatever rate and channels the
// stream has now. Several channels are mixed down.
//
// Units      times 100 ns; a time belongs to the first frame that starts in the data it comes with.
// Threads    one at a time.
// Ownership  borrows the sink for its life.
// Errors     none come out: what cannot be decoded is left out.
class AudioDecoder {
public:
    AudioDecoder() = default;
    AudioDecoder(const AudioDecoder&) = delete;
    AudioDecoder& operator=(const AudioDecoder&) = delete;
    virtual ~AudioDecoder() = default;

    virtual void SetFormat(SoundFormat format) = 0;
    // Plays that much faster than nominal, 0.001 being 0.1 %, from the next frame on: fewer samples come out.
    virtual void SetSpeed(double faster) = 0;
    virtual void Decode(ByteSpan payload, std::optional<std::int64_t> time) = 0;
    // Forgets the frame under way: bytes are missing before what follows, or a new stream begins.
    virtual void Flush() = 0;
};

// Null when the coding has no audio decoder or there is no memory for it.
std::unique_ptr<AudioDecoder> MakeAudioDecoder(Coding coding, SoundSink& sink);

} // namespace vistrame
