#include "transport/packet.h"

#include "transport/clock.h"

namespace vistrame {
namespace {

constexpr std::size_t kHeaderSize = 4;
constexpr std::size_t kMaxAdaptation = kPacketSize - kHeaderSize - 1;
constexpr std::size_t kPcrFieldSize = 6;

// Bits of the byte behind the length of the adaptation field.
constexpr unsigned kPcrFlag = 0x10;
constexpr unsigned kOpcrFlag = 0x08;
constexpr unsigned kSplicingFlag = 0x04;
constexpr unsigned kPrivateDataFlag = 0x02;
constexpr unsigned kExtensionFlag = 0x01;

} // namespace

ByteSpan PacketView::Adaptation() const {
    const bool present = (bytes_[3] & 0x20) != 0;
    if (!present || bytes_[kHeaderSize] > kMaxAdaptation) {
        return {};
    }
    return {bytes_ + kHeaderSize + 1, bytes_[kHeaderSize]};
}

unsigned PacketView::AdaptationFlags() const {
    const ByteSpan field = Adaptation();
    return field.empty() ? 0 : field[0];
}

ByteSpan PacketView::Payload() const {
    if (!HasPayload()) {
        return {};
    }
    if ((bytes_[3] & 0x20) == 0) {
        return Bytes().subspan(kHeaderSize);
    }
    const std::size_t length = bytes_[kHeaderSize];
    return length > kMaxAdaptation ? ByteSpan{} : Bytes().subspan(kHeaderSize + 1 + length);
}

std::optional<std::uint64_t> PacketView::Pcr() const {
    const ByteSpan field = Adaptation();
    if (field.size() < 1 + kPcrFieldSize || (field[0] & kPcrFlag) == 0) {
        return std::nullopt;
    }
    const std::uint64_t base = std::uint64_t{ReadBig32(field, 1)} << 1 | field[5] >> 7;
    const std::uint64_t extension = ReadBig16(field, 5) & 0x1FF;
    return base * kPcrPerTick + extension;
}

std::size_t PacketView::AdaptationStuffing() const {
    const bool present = (bytes_[3] & 0x20) != 0;
    if (present && bytes_[kHeaderSize] == 0) {
        return 1; // the length byte itself is the padding
    }
    const ByteSpan field = Adaptation();
    if (field.empty()) {
        return 0;
    }
    std::size_t used = 1;
    used += (field[0] & kPcrFlag) != 0 ? kPcrFieldSize : 0;
    used += (field[0] & kOpcrFlag) != 0 ? kPcrFieldSize : 0;
    used += (field[0] & kSplicingFlag) != 0 ? 1 : 0;
    for (const unsigned flag : {kPrivateDataFlag, kExtensionFlag}) {
        if ((field[0] & flag) != 0 && used < field.size()) {
            used += 1 + std::size_t{field[used]};
        }
    }
    return used < field.size() ? field.size() - used : 0;
}

} // namespace vistrame
