#pragma once

#include "filters/decoders/picture_output.h"
#include "transport/coding.h"

namespace vistrame {

// The size to connect a renderer with, before the programme is chosen. It matters only to Wine's VMR9, which
// keeps the size of its first connection for good: every picture is scaled to that, so it should be as large
// as the programmes' pictures and no larger. That is read from what the feed filters keep of the stream,
// where all programmes of this coding are seen in it; else it is the largest of broadcast.
//
// Waits a part of a second for the first pictures of a stream that has just begun, but of MPEG-2 alone, where
// little else is as small: until they are there nothing can be shown anyway.
//
// Errors     std::bad_alloc.
PictureOutput::Size FirstSize(IPin& renderer, Coding coding);

} // namespace vistrame
