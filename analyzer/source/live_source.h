#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

#include "transport/packet_cutter.h"

namespace vistrame {

// A stream that arrives by itself, now.
//
// Threads    whoever receives has one of his own and gives what he has to Receive; Take is for one other.
// Errors     what is not taken in time is dropped, the oldest first; bytes that belong to no packet too.
class LiveSource {
public:
    // 4 s at 32 Mbit/s: as much as anybody may be late.
    static constexpr std::size_t kLongest = kPacketSize * 85'000;

    LiveSource() = default;
    LiveSource(const LiveSource&) = delete;
    LiveSource& operator=(const LiveSource&) = delete;
    virtual ~LiveSource() = default;

    // The whole packets that have come since the last call.
    std::vector<std::uint8_t> Take();
    // What was found between them, since the last call.
    SyncErrors TakeErrors();
    // Nothing more will come.
    bool Ended() const { return ended_; }

protected:
    void Receive(ByteSpan bytes);
    void End() { ended_ = true; }
    // A PCR has come; called inside Receive, with the packets before it to be taken already. May wait.
    virtual void OnPcr(std::uint64_t pcr, Pid pid);

private:
    void Keep(const PacketView& packet);

    std::mutex lock_; // guards the three
    std::vector<std::uint8_t> packets_;
    SyncErrors errors_;
    SyncErrors taken_; // of them
    std::atomic<bool> ended_ = false;
    PacketCutter cutter_{[this](const PacketView& packet) {
        if (const auto pcr = packet.Pcr()) {
            OnPcr(*pcr, packet.PacketId());
        }
        Keep(packet);
    }};
};

} // namespace vistrame
