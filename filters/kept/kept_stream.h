#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "transport/packet_cutter.h"

namespace vistrame {

// The last seconds of the transport stream that this process was fed, whatever graph took them: a new graph
// finds there what its programme last looked like, and need not wait for the next picture that can be decoded
// by itself.
//
// What it holds  whole packets without the null packets, at most kLongest of them and kMostBytes.
// Ends           nothing of it is handed out once nothing has come in for kGoodFor, and all of it goes when
//                another transport stream begins: by announcement (Forget), or by the number in its programme
//                table.
// Threads        any.
// Ownership      copies; a snapshot shares the blocks and stays as it is.
// Errors         without memory what was held is forgotten, and keeping begins anew.
class KeptStream {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds kLongest{6}; // groups of pictures of up to 5 s are broadcast
    static constexpr std::size_t kMostBytes = std::size_t{48} << 20; // 6 s of 60 Mbit/s
    static constexpr std::chrono::seconds kGoodFor{5}; // longer than a graph is made, under any load

    // Consecutive packets, 188 bytes each.
    struct Block {
        Clock::time_point begun;
        bool continues = false; // the block before
        std::vector<std::uint8_t> packets;
    };
    using Snapshot = std::vector<std::shared_ptr<const Block>>;

    KeptStream();

    // `continues`: the bytes before. They may be cut anywhere.
    void Append(ByteSpan bytes, bool continues, Clock::time_point now = Clock::now());
    void Forget();

    // Oldest first.
    [[nodiscard]] Snapshot Take(Clock::time_point now = Clock::now()) const;

private:
    static constexpr std::size_t kBlockBytes = kPacketSize * 512; // 94 KB, 130 ms of an SD programme

    void Keep(const PacketView& packet);
    void LookAtProgrammes(const PacketView& packet);
    void DropOld();
    void ForgetAll();

    mutable std::mutex lock_; // guards what follows
    PacketCutter cutter_;
    std::deque<std::shared_ptr<Block>> blocks_; // the last one is being filled
    std::size_t bytes_ = 0;
    std::optional<unsigned> transportStream_; // number of the one that is kept
    bool continues_ = false;                  // the next packet, the one before
    Clock::time_point now_;                   // of the bytes under way
};

// Blocks of a snapshot that follow each other.
using KeptBlocks = std::span<const std::shared_ptr<const KeptStream::Block>>;

// Looks for something in the newest blocks, then among twice as many, until `search` says that it is enough.
template <class Search>
void SearchNewest(const KeptStream::Snapshot& kept, Search search) {
    const KeptBlocks all(kept);
    bool enough = false;
    for (std::size_t blocks = 4, before = 0; before < all.size() && !enough; before = blocks, blocks *= 2) {
        enough = search(all.last(std::min(blocks, all.size())));
    }
}

// The one of this process, which all feed filters write to.
KeptStream& KeptStreamOfProcess();

} // namespace vistrame
