#pragma once

#include <optional>

#include "filters/kept/kept_stream.h"
#include "transport/coding.h"

namespace vistrame {

struct LargestPicture {
    unsigned width = 0; // pixels; of one programme perhaps, and the height of another
    unsigned height = 0;
    bool certain = false; // every programme that is announced has been seen with its tables and pictures

    bool operator==(const LargestPicture&) const = default;
};

// The size that holds the pictures of every programme of this coding in the stream that is kept. Looks from
// the end on, no further back than it takes to see them all. Nothing where no size is known.
//
// Threads    any. Errors   std::bad_alloc.
std::optional<LargestPicture> FindLargestPicture(const KeptStream::Snapshot& kept, Coding coding);

} // namespace vistrame
