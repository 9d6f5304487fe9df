#include "analyzer/source/live_source.h"

#include <utility>

namespace vistrame {

std::vector<std::uint8_t> LiveSource::Take() {
    const std::scoped_lock hold(lock_);
    return std::exchange(packets_, {});
}

SyncErrors LiveSource::TakeErrors() {
    const std::scoped_lock hold(lock_);
    return errors_ - std::exchange(taken_, errors_);
}

void LiveSource::Receive(ByteSpan bytes) {
    cutter_.Feed(bytes);
    const std::scoped_lock hold(lock_);
    errors_ = cutter_.Errors();
}

void LiveSource::OnPcr(std::uint64_t, Pid) {}

void LiveSource::Keep(const PacketView& packet) {
    const std::scoped_lock hold(lock_);
    if (packets_.size() >= kLongest) {
        packets_.erase(packets_.begin(), packets_.begin() + kLongest / 2);
    }
    packets_.insert(packets_.end(), packet.Bytes().begin(), packet.Bytes().end());
}

} // namespace vistrame
