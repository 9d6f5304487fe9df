#pragma once

#include <algorithm>
#include <memory>

#include <new>

#include "transport/bytes.h"

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

// Copies the bytes into a counted buffer of the packet's own, with the padding that decoders read into: of a
// packet without one the decoder would make a copy for itself. Throws std::bad_alloc without memory.
inline void FillPacket(AVPacket& packet, ByteSpan bytes) {
    av_packet_unref(&packet);
    if (av_new_packet(&packet, static_cast<int>(bytes.size())) < 0) {
        throw std::bad_alloc();
    }
    std::ranges::copy(bytes, packet.data);
}

} // namespace vistrame
