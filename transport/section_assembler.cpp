#include "transport/section_assembler.h"

#include <algorithm>
#include <utility>

#include "transport/crc32.h"

namespace vistrame {
namespace {

constexpr std::size_t kSectionHeader = 3; // up to and including the length field
constexpr std::uint8_t kStuffingTable = 0xFF;

std::size_t SectionSize(ByteSpan header) {
    return kSectionHeader + (ReadBig16(header, 1) & 0x0FFF);
}

} // namespace

SectionAssembler::SectionAssembler(Sink sink) : sink_(std::move(sink)) {}

void SectionAssembler::Push(const PacketView& packet) {
    if (packet.TransportError() || packet.Scrambled()) {
        Drop();
        return;
    }
    ByteSpan payload = packet.Payload();
    if (payload.empty()) {
        return;
    }
    const bool continues = packet.ContinuityCounter() == nextCounter_;
    if (collecting_ && !continues) {
        const bool duplicate = packet.ContinuityCounter() == ((nextCounter_ + 15) & 0x0F);
        if (duplicate && !packet.UnitStart()) {
            return;
        }
        Drop();
    }
    nextCounter_ = (packet.ContinuityCounter() + 1) & 0x0F;
    if (!packet.UnitStart()) {
        if (collecting_) {
            Append(payload, false);
        }
        return;
    }
    const std::size_t rest = payload[0]; // pointer field: bytes before the first section that starts here
    payload = payload.subspan(1);
    if (rest > payload.size()) {
        Drop();
        return;
    }
    if (collecting_) {
        Append(payload.first(rest), false);
    }
    Drop();
    collecting_ = true;
    Append(payload.subspan(rest), true);
}

void SectionAssembler::Append(ByteSpan bytes, bool more) {
    while (collecting_ && !bytes.empty()) {
        if (section_.empty() && bytes[0] == kStuffingTable) {
            collecting_ = false;
            return;
        }
        const std::size_t wanted = section_.size() < kSectionHeader ? kSectionHeader : SectionSize(section_);
        const std::size_t taken = std::min(wanted - section_.size(), bytes.size());
        section_.insert(section_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(taken));
        bytes = bytes.subspan(taken);
        if (section_.size() < kSectionHeader) {
            return;
        }
        const std::size_t size = SectionSize(section_);
        if (size > kMaxSection) {
            Drop();
        } else if (section_.size() == size) {
            Deliver();
            collecting_ = more;
        }
    }
}

void SectionAssembler::Deliver() {
    const bool hasCrc = (section_[1] & 0x80) != 0; // section_syntax_indicator
    if (hasCrc && Crc32Mpeg(section_) == 0) {
        sink_(section_);
    } else {
        ++bad_;
    }
    section_.clear();
}

void SectionAssembler::Drop() {
    bad_ += section_.empty() ? 0 : 1;
    section_.clear();
    collecting_ = false;
}

void SectionAssembler::Reset() {
    section_.clear();
    collecting_ = false;
    bad_ = 0;
}

} // namespace vistrame
