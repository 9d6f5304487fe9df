#include "transport/nal_unit.h"

#include <algorithm>

namespace vistrame {

std::vector<std::uint8_t> Unescaped(ByteSpan unit) {
    std::vector<std::uint8_t> bytes;
    unsigned zeros = 0;
    for (const std::uint8_t byte : unit) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        bytes.push_back(byte);
    }
    return bytes;
}

std::size_t SeiMessages::TakeSum() {
    std::size_t sum = 0;
    while (!rest_.empty()) {
        const std::uint8_t byte = rest_.front();
        rest_ = rest_.subspan(1);
        sum += byte;
        if (byte != 0xFF) {
            break;
        }
    }
    return sum;
}

std::optional<SeiMessages::Message> SeiMessages::Next() {
    // They end with a byte 0x80, and in front of the next start code.
    if (rest_.size() < 2 || rest_[0] == 0x80 || (rest_[0] == 0 && rest_[1] == 0)) {
        return std::nullopt;
    }
    Message message;
    message.type = TakeSum();
    const std::size_t size = TakeSum();
    message.payload = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(message.payload.size());
    return message;
}

} // namespace vistrame
