#pragma once

#include "transport/bytes.h"

namespace vistrame {

// Calls visit(tag, body) for each descriptor of a loop and stops at the first that does not fit.
template <typename Visit>
void ForEachDescriptor(ByteSpan loop, Visit visit) {
    while (loop.size() >= 2 && loop.size() - 2 >= loop[1]) {
        visit(loop[0], loop.subspan(2, loop[1]));
        loop = loop.subspan(2 + std::size_t{loop[1]});
    }
}

} // namespace vistrame
