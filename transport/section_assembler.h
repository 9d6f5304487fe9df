#pragma once

#include <functional>
#include <vector>

#include "transport/packet.h"

namespace vistrame {

// Puts the sections of one PID together and lets only intact ones through.
//
// Units      bytes; a section is at most 4096 of them (private sections; those of MPEG-2 systems 1024).
// Threads    none of its own, not thread-safe.
// Ownership  the sink borrows the section, header and CRC included, until it returns.
// Errors     a section with a wrong CRC (or none), a lost packet inside, a transport error or scrambling is
//            dropped and counted; the next section start begins afresh.
class SectionAssembler {
public:
    static constexpr std::size_t kMaxSection = 4096;
    using Sink = std::function<void(ByteSpan section)>;

    explicit SectionAssembler(Sink sink);

    void Push(const PacketView& packet);
    void Reset();

    std::uint64_t BadSections() const { return bad_; }

private:
    // Takes bytes of the section being assembled and, when `more` may follow it, of those behind it.
    void Append(ByteSpan bytes, bool more);
    void Deliver();
    void Drop();

    Sink sink_;
    std::vector<std::uint8_t> section_; // being assembled; empty: waiting for a section start
    std::uint64_t bad_ = 0;
    unsigned nextCounter_ = 0;
    bool collecting_ = false;
};

} // namespace vistrame
