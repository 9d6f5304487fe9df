#pragma once

#include <optional>

#include "filters/base/output_pin.h"
#include "filters/base/work_queue.h"
#include "filters/decoders/deinterlacer.h"
#include "filters/decoders/stored_picture.h"
#include "filters/pace/field_rate.h"
#include "filters/pictures/colour_mapper.h"
#include "filters/pictures/picture_writer.h"
#include "filters/pictures/renderer_buffers.h"
#include "filters/decoders/video_decoder.h"

namespace vistrame {

// Brings decoded pictures to the renderer: makes progressive ones of the fields of interlaced ones, agrees on
// their size, writes them into the renderer's buffers and hands those over on a thread of its own, so that
// decoding runs ahead of the picture on the screen.
//
// The pin is connected before the programme is known, as a picture of FirstSize(). When the first picture
// comes, and whenever size or aspect change, the renderer is asked:
//   1. to reconnect with the picture's own size;
//   2. to take the new aspect with the size that was connected; the picture is scaled to that.
// Each with the colours that the stream specifies, or that are usual for its own size where they are not
// for the other, then without, for renderers that do not know the field: the colours are converted then.
// Colours of a wide gamut or a high dynamic range never come to the renderer (ColourMapper).
// Where it refuses both, the picture is scaled and keeps its aspect between black bars.
//
// Units      times 100 ns.
// Threads    Show, Drain, Flush: the streaming thread (stream lock). Start and Stop: the filter's state
//            changes. The queue's worker takes the stream lock, if it is free, to show a picture that was
//            held back for the next one when none comes.
// Errors     a picture that cannot be delivered is dropped.
class PictureOutput final : public PictureSink {
public:
    struct Size {
        int width;
        int height;
    };
    static constexpr Size kLargest{1920, 1080}; // of broadcast below UHD
    static constexpr int kBuffers = 4;          // one at the renderer, the rest decoded ahead

    PictureOutput(BaseFilter& filter, OutputPin& pin);

    // What the pin offers before it is connected.
    static std::vector<MediaType> OfferedTypes(Size size = kLargest);
    // Whatever type the pin is connected with.
    void Connected(const MediaType& type);

    void Start();
    // The first picture costs a renderer most (it makes its textures and compiles its shaders, 0.3 s in
    // software), so after connecting a still or else a black one goes ahead while the stream's first is still
    // awaited. Stream lock held.
    void WarmUp();
    // What a still that came while stopped is to be seen as, if there is one. Running, stream lock held.
    void ShowStill();
    void Stop();

    // While stopped: makes room for another still.
    void DropStill() { still_.Clear(); }
    // While stopped the first picture is kept as a still.
    void OnPicture(const Picture& picture) override;
    // The next picture does not follow the one before.
    void MarkDiscontinuity() { discontinuity_ = true; }
    // Waits until the renderer has everything.
    void Drain();
    // Drops what the renderer does not have yet. The renderer must be flushing.
    void Flush();

    // What the decoder should leave out now that it gets data of this time: from how late the pictures came,
    // but nothing once the data itself is in time.
    VideoSkip WantedSkip(std::optional<REFERENCE_TIME> data);

private:
    struct Shape {
        int width = 0;
        int height = 0;
        Aspect aspect;
        Colours colours;
        bool operator==(const Shape&) const = default;
    };

    bool ShowHeld();
    void HandOver(const Picture& picture);
    void Show(const Picture& decoded);
    void DropWhatWaits(std::optional<REFERENCE_TIME> start);
    bool IsTooLate(const Picture& picture);
    void Agree(const Picture& picture);
    void KeepStill(const Picture& picture);

    BaseFilter& filter_;
    OutputPin& pin_;
    Deinterlacer deinterlacer_; // gives its pictures to HandOver
    FieldRate fieldRate_;
    StoredPicture still_;
    ColourMapper mapper_;
    PictureWriter writer_;
    RendererBuffers buffers_;
    WorkQueue<ComPtr<IMediaSample>> queue_;

    // Streaming thread, or connecting while there is none.
    GUID formatType_{};
    Shape connected_;                // the size the renderer's surfaces were made for
    std::optional<Shape> agreedFor_; // the pictures that the buffers' type was agreed for
    PictureWriter::Fit fit_ = PictureWriter::Fit::kFill;
    bool started_ = false;
    bool warm_ = false; // the renderer has had a picture
    bool discontinuity_ = true;
    VideoSkip skip_ = VideoSkip::kNothing;
    REFERENCE_TIME lastShown_ = 0;
    std::optional<REFERENCE_TIME> lastHanded_; // start of the last picture in the queue
};

} // namespace vistrame
