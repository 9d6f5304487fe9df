#include "filters/decoders/deinterlacer.h"

#include <algorithm>
#include <limits>
#include <utility>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/imgutils.h>
}

namespace vistrame {

namespace {

constexpr int kAll = std::numeric_limits<int>::max();
constexpr int kLongestStep = 4; // periods from picture to picture; more is a break

// A reference to the picture, or a copy of it.
AvPtr<AVFrame> FrameOf(const Picture& picture) {
    AvPtr<AVFrame> frame(av_frame_alloc());
    if (frame == nullptr) {
        return nullptr;
    }
    if (picture.counted != nullptr) {
        if (av_frame_ref(frame.get(), picture.counted) < 0) {
            return nullptr;
        }
    } else {
        frame->format = picture.format;
        frame->width = picture.width;
        frame->height = picture.height;
        if (av_frame_get_buffer(frame.get(), 0) < 0) {
            return nullptr;
        }
        std::array<const std::uint8_t*, 4> planes = picture.planes;
        av_image_copy(frame->data, frame->linesize, planes.data(), picture.strides.data(),
                      static_cast<AVPixelFormat>(picture.format), picture.width, picture.height);
    }
    frame->interlaced_frame = 1;
    frame->top_field_first = picture.topFieldFirst ? 1 : 0;
    frame->repeat_pict = 0; // the filter draws conclusions from it; times are not its business here
    return frame;
}

AVFilterContext* AddFilter(AVFilterGraph* graph, const char* name) {
    const AVFilter* filter = avfilter_get_by_name(name);
    return filter != nullptr ? avfilter_graph_alloc_filter(graph, filter, nullptr) : nullptr;
}

bool InitSource(AVFilterContext* source, const Picture& picture) {
    AVBufferSrcParameters* parameters = av_buffersrc_parameters_alloc();
    if (parameters == nullptr) {
        return false;
    }
    parameters->format = picture.format;
    parameters->width = picture.width;
    parameters->height = picture.height;
    parameters->time_base = {1, 1};
    const int set = av_buffersrc_parameters_set(source, parameters);
    av_free(parameters);
    return set >= 0 && avfilter_init_str(source, nullptr) >= 0;
}

} // namespace

Deinterlacer::Deinterlacer(Sink sink) : sink_(std::move(sink)) {}
Deinterlacer::~Deinterlacer() = default;

bool Deinterlacer::Open(const Picture& picture, Rate rate) {
    Reset();
    graph_.reset(avfilter_graph_alloc());
    made_.reset(made_ != nullptr ? made_.release() : av_frame_alloc());
    if (graph_ == nullptr || made_ == nullptr) {
        return false;
    }
    graph_->nb_threads = 1; // threads of its own would have to be made for each graph
    source_ = AddFilter(graph_.get(), "buffer");
    result_ = AddFilter(graph_.get(), "buffersink");
    AVFilterContext* filter = AddFilter(graph_.get(), "bwdif");
    const char* options = rate == Rate::kFields ? "mode=send_field:deint=all" : "mode=send_frame:deint=all";
    rate_ = rate;
    return source_ != nullptr && result_ != nullptr && filter != nullptr && InitSource(source_, picture) &&
           avfilter_init_str(filter, options) >= 0 && avfilter_init_str(result_, nullptr) >= 0 &&
           avfilter_link(source_, 0, filter, 0) >= 0 && avfilter_link(filter, 0, result_, 0) >= 0 &&
           avfilter_graph_config(graph_.get(), nullptr) >= 0;
}

void Deinterlacer::Reset() {
    graph_.reset();
    last_.reset();
    held_.reset();
    fed_ = 0;
}

bool Deinterlacer::Feed(AvPtr<AVFrame> frame) {
    if (frame == nullptr) {
        return false;
    }
    frame->pts = fed_++;
    return av_buffersrc_add_frame(source_, frame.get()) >= 0;
}

// Gives out what has become of the picture held, at most so many fields. The last one lasts as long as the
// picture does.
void Deinterlacer::Collect(const Picture& held, int fields) {
    const bool halves = rate_ == Rate::kFields && fields > 1;
    for (int i = 0; i < fields; ++i) {
        av_frame_unref(made_.get());
        if (av_buffersink_get_frame(result_, made_.get()) < 0) {
            break;
        }
        Picture picture = held;
        std::copy_n(made_->data, picture.planes.size(), picture.planes.begin());
        std::copy_n(made_->linesize, picture.strides.size(), picture.strides.begin());
        picture.counted = made_.get();
        picture.interlaced = false;
        if (halves) {
            picture.duration /= 2;
            if (picture.start && i > 0) {
                *picture.start += picture.duration;
            }
        }
        sink_(picture);
    }
    av_frame_unref(made_.get());
}

bool Deinterlacer::Continues(const Picture& picture, Rate rate) const {
    if (!held_ || rate != rate_ || picture.format != held_->format || picture.width != held_->width ||
        picture.height != held_->height) {
        return false;
    }
    const std::int64_t step =
        picture.start && held_->start ? *picture.start - *held_->start : held_->duration;
    return step > 0 && step <= kLongestStep * held_->duration;
}

void Deinterlacer::Push(const Picture& picture, Rate rate) {
    if (!Continues(picture, picture.interlaced ? rate : rate_)) {
        Drain();
        if (picture.interlaced && !Open(picture, rate)) {
            Reset();
            sink_(picture); // in a format that the filter does not know
            return;
        }
    }
    // Forgotten first: should the sink throw, nothing comes out twice.
    const std::optional<Picture> done = std::exchange(held_, std::nullopt);
    if (!picture.interlaced) {
        if (done && Feed(FrameOf(picture))) {
            Collect(*done, kAll);
        }
        Reset();
        sink_(picture);
        return;
    }
    AvPtr<AVFrame> frame = FrameOf(picture);
    last_.reset(frame != nullptr ? av_frame_clone(frame.get()) : nullptr);
    if (last_ == nullptr || !Feed(std::move(frame))) {
        Reset();
        return;
    }
    held_ = picture;
    if (done) {
        Collect(*done, kAll);
    }
}

void Deinterlacer::PushAlone(const Picture& picture) {
    Reset();
    if (picture.interlaced) {
        Push(picture, Rate::kPictures);
        Drain();
    } else {
        sink_(picture);
    }
}

void Deinterlacer::Drain() {
    const std::optional<Picture> done = std::exchange(held_, std::nullopt);
    if (done && fed_ == 1) {
        // Against itself nothing in it moves. The filter makes the first field of all from its own lines
        // alone, and that is what such a picture is worth.
        if (Feed(std::move(last_))) {
            Collect(*done, 1);
        }
    } else if (done && av_buffersrc_add_frame(source_, nullptr) >= 0) {
        Collect(*done, kAll);
    }
    Reset();
}

} // namespace vistrame
