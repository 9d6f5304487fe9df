#pragma once

#include <optional>
#include <vector>

#include "transport/bytes.h"

namespace vistrame {

// A NAL unit (H.264, HEVC) without the bytes that keep start codes out of it.
std::vector<std::uint8_t> Unescaped(ByteSpan unit);

// Walks through the messages of supplemental enhancement information: type and size, each a sum of bytes that
// ends with one below 255, then the payload.
class SeiMessages {
public:
    // Behind the unit's header. What follows the unit may be in `messages`, too.
    explicit SeiMessages(ByteSpan messages) : rest_(messages) {}

    struct Message {
        std::size_t type = 0;
        ByteSpan payload; // what there is of it
    };
    std::optional<Message> Next();

private:
    std::size_t TakeSum();

    ByteSpan rest_;
};

} // namespace vistrame
