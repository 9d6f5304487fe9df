#pragma once

#include <optional>
#include <vector>

#include "filters/kept/kept_stream.h"
#include "transport/coding.h"

namespace vistrame {

// The newest picture of a stream that can be decoded by itself.
struct LastPicture {
    std::vector<std::uint8_t> data;
    std::size_t first =
        0; // bytes of `data` that begin it; behind them what followed, which may hold its second field
};

// Looks for it from the end on, so that a long snapshot costs no more than the distance between such
// pictures. One that has come in only partly, or damaged, does not count.
//
// Threads    any. Errors   std::bad_alloc.
std::optional<LastPicture> FindLastPicture(const KeptStream::Snapshot& kept, Pid pid, Coding coding);

} // namespace vistrame
