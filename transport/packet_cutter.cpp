#include "transport/packet_cutter.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vistrame {
namespace {

struct Layout {
    std::size_t stride;
    std::size_t before; // bytes of each stride in front of the packet proper
};
constexpr std::array kLayouts{Layout{188, 0}, Layout{192, 4}, Layout{204, 0}};

std::size_t BytesBefore(std::size_t stride) {
    const auto* found =
        std::find_if(kLayouts.begin(), kLayouts.end(), [&](Layout l) { return l.stride == stride; });
    return found != kLayouts.end() ? found->before : 0;
}

// How many packets, one each stride, begin with a sync byte as far as the data reaches and a lock needs; 0
// when one of them does not.
std::size_t CountSyncs(ByteSpan bytes, std::size_t stride) {
    std::size_t found = 0;
    for (std::size_t at = 0; found < PacketCutter::kSyncsToLock && at < bytes.size(); at += stride, ++found) {
        if (bytes[at] != kSyncByte) {
            return 0;
        }
    }
    return found;
}

} // namespace

PacketCutter::PacketCutter(Sink sink) : sink_(std::move(sink)) {}

void PacketCutter::Feed(ByteSpan chunk) {
    if (tailSize_ > 0) {
        chunk = ConsumeTail(chunk);
    }
    while (!chunk.empty()) {
        const std::size_t used = Consume(chunk);
        if (used == 0) {
            std::copy(chunk.begin(), chunk.end(), tail_.begin());
            tailSize_ = chunk.size();
            return;
        }
        chunk = chunk.subspan(used);
    }
}

ByteSpan PacketCutter::ConsumeTail(ByteSpan chunk) {
    while (tailSize_ > 0 && !chunk.empty()) {
        const std::size_t borrowed = std::min(tail_.size() - tailSize_, chunk.size());
        std::copy_n(chunk.begin(), borrowed, tail_.begin() + static_cast<std::ptrdiff_t>(tailSize_));
        const ByteSpan all(tail_.data(), tailSize_ + borrowed);
        std::size_t used = 0;
        while (used < tailSize_) {
            const std::size_t step = Consume(all.subspan(used));
            if (step == 0) {
                break;
            }
            used += step;
        }
        if (used >= tailSize_) {
            chunk = chunk.subspan(used - tailSize_);
            tailSize_ = 0;
        } else {
            chunk = chunk.subspan(borrowed);
            tailSize_ = all.size() - used;
            std::memmove(tail_.data(), tail_.data() + used, tailSize_);
        }
    }
    return chunk;
}

std::size_t PacketCutter::Consume(ByteSpan bytes) {
    return locked_ ? ConsumeLocked(bytes) : Search(bytes);
}

std::size_t PacketCutter::ConsumeLocked(ByteSpan bytes) {
    if (skip_ > 0) {
        const std::size_t passed = std::min(skip_, bytes.size());
        skip_ -= passed;
        return passed;
    }
    const auto syncAt = [&](std::size_t at) { return at < bytes.size() && bytes[at] == kSyncByte; };
    if (bytes[0] != kSyncByte) {
        if (bytes.size() <= stride_) {
            return 0;
        }
        if (!syncAt(stride_)) {
            CountLoss();
            locked_ = false;
            return Search(bytes);
        }
        ++errors_.bytes;
        Drop(kPacketSize); // only this packet's sync byte is damaged
        skip_ = stride_ - kPacketSize;
        return kPacketSize;
    }
    if (bytes.size() < kPacketSize) {
        return 0;
    }
    if (const std::size_t next = CutShortAt(bytes); next != 0) {
        CountLoss();
        Drop(next);
        return next;
    }
    skip_ = stride_ - kPacketSize;
    Emit(bytes.first(kPacketSize));
    return kPacketSize;
}

std::size_t PacketCutter::CutShortAt(ByteSpan bytes) const {
    if (bytes.size() <= stride_ || bytes[stride_] == kSyncByte) {
        return 0;
    }
    for (std::size_t at = 1; at < kPacketSize; ++at) {
        if (CountSyncs(bytes.subspan(at), stride_) == kSyncsToLock) {
            return at;
        }
    }
    return 0;
}

std::size_t PacketCutter::Search(ByteSpan bytes) {
    std::size_t at = 0;
    for (; at < bytes.size(); ++at) {
        const auto next = std::find(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.end(), kSyncByte);
        at = static_cast<std::size_t>(next - bytes.begin());
        if (next == bytes.end()) {
            break;
        }
        bool possible = false;
        for (const Layout& layout : kLayouts) {
            const std::size_t found = CountSyncs(bytes.subspan(at), layout.stride);
            if (found == kSyncsToLock) {
                Drop(at);
                Lock(layout.stride);
                return at > 0 ? at : ConsumeLocked(bytes);
            }
            possible = possible || found > 0;
        }
        if (possible) {
            break;
        }
    }
    Drop(at);
    return at;
}

void PacketCutter::Lock(std::size_t stride) {
    // The first packet's own time stamp was passed over as if it were garbage.
    const std::size_t before = std::min(BytesBefore(stride), droppedInSearch_);
    dropped_ -= before;
    droppedInSearch_ = 0;
    stride_ = stride;
    skip_ = 0;
    locked_ = true;
}

void PacketCutter::CountLoss() {
    errors_ += {.bytes = 2, .losses = 1};
}

void PacketCutter::Drop(std::size_t bytes) {
    dropped_ += bytes;
    droppedInSearch_ = locked_ ? 0 : droppedInSearch_ + bytes;
}

void PacketCutter::Emit(ByteSpan bytes) {
    ++packets_;
    inSink_ = true;
    sink_(PacketView(bytes.first<kPacketSize>()));
    inSink_ = false;
    if (resetWanted_) {
        DoReset();
    }
}

void PacketCutter::Flush() {
    ByteSpan rest(tail_.data(), tailSize_);
    if (!locked_) {
        for (const Layout& layout : kLayouts) {
            const ByteSpan packets = rest.subspan(std::min(layout.before, rest.size()));
            if (packets.size() < kPacketSize || CountSyncs(packets, layout.stride) == 0) {
                continue;
            }
            Drop(layout.before);
            Lock(layout.stride);
            rest = packets;
            break;
        }
    }
    while (locked_ && !rest.empty()) {
        const std::size_t used = ConsumeLocked(rest);
        if (used == 0) {
            break;
        }
        rest = rest.subspan(used);
    }
    Drop(rest.size());
    tailSize_ = 0;
    locked_ = false;
}

void PacketCutter::Reset() {
    if (inSink_) {
        resetWanted_ = true;
    } else {
        tailSize_ = 0;
        DoReset();
    }
}

void PacketCutter::DoReset() {
    resetWanted_ = false;
    locked_ = false;
    stride_ = 0;
    skip_ = 0;
    droppedInSearch_ = 0;
    packets_ = 0;
    dropped_ = 0;
    errors_ = {};
}

} // namespace vistrame
