#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavutil/log.h>
}

namespace vistrame {

// Owners of FFmpeg's objects.
struct AvDeleter {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
template <class Object>
using AvPtr = std::unique_ptr<Object, AvDeleter>;

} // namespace vistrame
