#pragma once

#include <algorithm>
#include <iterator>

#include "transport/bytes.h"

namespace vistrame {

// Walks from start code (00 00 01) to start code; each unit begins with the byte behind it.
class StartCodes {
public:
    explicit StartCodes(ByteSpan bytes) : rest_(bytes) {}

    // The next unit up to the end of the data, empty when there is none. Only its beginning is meant to be
    // read.
    ByteSpan Next() {
        constexpr std::uint8_t kStartCode[] = {0, 0, 1};
        const auto found =
            std::search(rest_.begin(), rest_.end(), std::begin(kStartCode), std::end(kStartCode));
        const auto skipped = static_cast<std::size_t>(found - rest_.begin());
        rest_ = rest_.subspan(std::min(rest_.size(), skipped + std::size(kStartCode)));
        return rest_;
    }

private:
    ByteSpan rest_;
};

} // namespace vistrame
