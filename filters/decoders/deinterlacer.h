#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "filters/decoders/av_handles.h"
#include "filters/pictures/picture.h"

namespace vistrame {

// Turns interlaced pictures into progressive ones by FFmpeg's "bwdif": one for each field, or one for each
// picture.
//
// What becomes of a picture depends on the next one, so an interlaced picture comes out when that is there;
// only the first behind a beginning or a break does not wait for what was before. Progressive pictures and
// those that the filter does not know pass unchanged and at once, behind what is held.
//
// Units      times 100 ns. The fields of a picture share its time: the second begins in its middle.
// Threads    one at a time; the sink is called from within the calls below.
// Ownership  keeps references to two pictures of the decoder (copies, where a picture has no counted frame).
// Errors     without memory a picture is lost.
class Deinterlacer {
public:
    enum class Rate : std::uint8_t { kFields, kPictures };
    using Sink = std::function<void(const Picture&)>;

    explicit Deinterlacer(Sink sink);
    Deinterlacer(const Deinterlacer&) = delete;
    Deinterlacer& operator=(const Deinterlacer&) = delete;
    ~Deinterlacer();

    // A change of the rate takes effect with this picture, and so does one of size or format.
    void Push(const Picture& picture, Rate rate);
    // A picture that has nothing to do with the ones before or behind it: its first field, at once. What is
    // held is dropped.
    void PushAlone(const Picture& picture);
    // Gives out what is held; the next picture begins anew.
    void Drain();
    // Drops what is held; the next picture begins anew.
    void Reset();

private:
    bool Continues(const Picture& picture, Rate rate) const;
    bool Open(const Picture& picture, Rate rate);
    bool Feed(AvPtr<AVFrame> frame);
    void Collect(const Picture& held, int fields);

    const Sink sink_;
    AvPtr<AVFilterGraph> graph_; // source, filter, sink; null while nothing is held
    AVFilterContext* source_ = nullptr;
    AVFilterContext* result_ = nullptr;
    Rate rate_ = Rate::kFields;   // the graph's
    AvPtr<AVFrame> last_;         // another reference to the picture held
    std::optional<Picture> held_; // what is to be said of it; its planes are not to be read
    int fed_ = 0;                 // pictures, since the graph was made
    AvPtr<AVFrame> made_;
};

} // namespace vistrame
