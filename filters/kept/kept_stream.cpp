#include "filters/kept/kept_stream.h"

#include <new>

namespace vistrame {

KeptStream::KeptStream() : cutter_([this](const PacketView& packet) { Keep(packet); }) {}

void KeptStream::Append(ByteSpan bytes, bool continues, Clock::time_point now) {
    const std::lock_guard lock(lock_);
    if (!continues) {
        cutter_.Reset();
        continues_ = false;
    }
    now_ = now;
    try {
        cutter_.Feed(bytes);
    } catch (const std::bad_alloc&) {
        ForgetAll();
    }
    DropOld();
}

void KeptStream::Forget() {
    const std::lock_guard lock(lock_);
    ForgetAll();
}

void KeptStream::ForgetAll() {
    blocks_.clear();
    bytes_ = 0;
    transportStream_.reset();
    continues_ = false;
    cutter_.Reset();
}

void KeptStream::Keep(const PacketView& packet) {
    if (packet.PacketId() == kNullPid) {
        return;
    }
    LookAtProgrammes(packet);
    if (blocks_.empty() || !continues_ || blocks_.back()->packets.size() == kBlockBytes) {
        auto block = std::make_shared<Block>();
        block->begun = now_;
        block->continues = continues_ && !blocks_.empty();
        block->packets.reserve(kBlockBytes);
        blocks_.push_back(std::move(block));
        continues_ = true;
    }
    const ByteSpan bytes = packet.Bytes();
    blocks_.back()->packets.insert(blocks_.back()->packets.end(), bytes.begin(), bytes.end());
    bytes_ += bytes.size();
}

// The programme association table names its transport stream; whatever its tables' versions, a PID means the
// same programme only within one.
void KeptStream::LookAtProgrammes(const PacketView& packet) {
    constexpr std::size_t kNumberAt = 3; // in the section: table, length, then the number
    if (packet.PacketId() != kPatPid || !packet.UnitStart() || !packet.HasPayload()) {
        return;
    }
    const ByteSpan payload = packet.Payload();
    const std::size_t section = payload.empty() ? 0 : std::size_t{1} + payload[0];
    if (section + kNumberAt + 1 >= payload.size() || payload[section] != 0) {
        return;
    }
    const unsigned number = ReadBig16(payload, section + kNumberAt);
    if (transportStream_ && transportStream_ != number) {
        blocks_.clear();
        bytes_ = 0;
    }
    transportStream_ = number;
}

void KeptStream::DropOld() {
    while (blocks_.size() > 1 && (bytes_ > kMostBytes || blocks_[1]->begun < now_ - kLongest)) {
        bytes_ -= blocks_.front()->packets.size();
        blocks_.pop_front();
    }
}

KeptStream::Snapshot KeptStream::Take(Clock::time_point now) const {
    const std::lock_guard lock(lock_);
    if (blocks_.empty() || now - now_ > kGoodFor) {
        return {};
    }
    Snapshot snapshot(blocks_.begin(), blocks_.end());
    snapshot.back() = std::make_shared<const Block>(*blocks_.back()); // the one that is being filled
    return snapshot;
}

KeptStream& KeptStreamOfProcess() {
    static KeptStream kept;
    return kept;
}

} // namespace vistrame
