#include "transport/pid_stream.h"

#include <algorithm>
#include <utility>

namespace vistrame {

void PidStream::Push(const PacketView& packet) {
    ++counters_.packets;
    if (packet.TransportError()) {
        OnTransportError(packet);
        return;
    }
    const bool announced = packet.DiscontinuityIndicator();
    if (announced) {
        counterKnown_ = false;
    }
    if (!packet.HasPayload()) {
        if (announced) {
            assembler_.MarkDamaged();
        }
        return;
    }
    const Continuity continuity = Check(packet);
    if (continuity == Continuity::kRepeated) {
        return;
    }
    if (packet.Scrambled()) {
        OnScrambled(packet);
        return;
    }
    const bool lost = continuity == Continuity::kLost;
    if (lost) {
        ++counters_.continuityErrors;
    }
    // An announced break lies before this packet: a unit start leaves the packet being assembled whole.
    if (lost || (announced && !packet.UnitStart())) {
        assembler_.MarkDamaged();
    }
    if (packet.UnitStart()) {
        Finish();
        if (lost || announced) {
            assembler_.MarkDamaged();
        }
    }
    PushPayload(packet, lost || announced);
}

void PidStream::PushPayload(const PacketView& packet, bool lost) {
    const ByteSpan payload = packet.Payload();
    if (finishedEarly_ && !payload.empty()) {
        finishedEarly_ = false;
        if (!packet.UnitStart()) {
            earlyProvedWrong_ = earlyProvedWrong_ || !lost;
            assembler_.Continue();
        }
    }
    const PesAssembler::Progress progress = assembler_.Push(packet);
    if (progress.header) {
        listener_.OnPesHeader(*this, assembler_.Current().header);
    }
    if (progress.finished) {
        listener_.OnPes(*this, assembler_.Take());
    } else if (EndsEarly(packet) && assembler_.Finish()) {
        finishedEarly_ = true;
        listener_.OnPes(*this, assembler_.Take());
    }
}

bool PidStream::EndsEarly(const PacketView& packet) const {
    const PesAssembler::Packet& current = assembler_.Current();
    return early_ && !earlyProvedWrong_ && assembler_.Collecting() && current.header.size > 0 &&
           current.header.total == 0 && current.bytes.size() > current.header.size &&
           packet.AdaptationStuffing() > 0;
}

PidStream::Continuity PidStream::Check(const PacketView& packet) {
    const unsigned counter = packet.ContinuityCounter();
    const ByteSpan payload = packet.Payload();
    const bool known = std::exchange(counterKnown_, true);
    const unsigned last = std::exchange(counter_, counter);
    const ByteSpan lastPayload = ByteSpan(lastPayload_).first(lastPayloadSize_);
    if (known && counter == last && std::ranges::equal(payload, lastPayload)) {
        return Continuity::kRepeated;
    }
    std::ranges::copy(payload, lastPayload_.begin());
    lastPayloadSize_ = payload.size();
    return !known || counter == ((last + 1) & 0x0F) ? Continuity::kContinues : Continuity::kLost;
}

// Its payload cannot be trusted and is left out; that a unit starts here still can be.
void PidStream::OnTransportError(const PacketView& packet) {
    ++counters_.transportErrors;
    if (packet.UnitStart()) {
        Finish();
        assembler_.Abandon();
        finishedEarly_ = false;
    }
    assembler_.MarkDamaged();
    // Counted once: where its counter is the expected one, the next packet is no continuity error.
    if (packet.HasPayload() && packet.ContinuityCounter() == ((counter_ + 1) & 0x0F)) {
        counter_ = packet.ContinuityCounter();
    }
}

void PidStream::OnScrambled(const PacketView&) {
    ++counters_.scrambled;
    assembler_.MarkDamaged();
    Finish();
    assembler_.Abandon();
    finishedEarly_ = false;
}

void PidStream::Finish() {
    if (assembler_.Finish()) {
        listener_.OnPes(*this, assembler_.Take());
    }
}

void PidStream::Break() {
    assembler_.MayBeCut();
    Finish();
    Lose();
}

void PidStream::Lose() {
    counterKnown_ = false;
    finishedEarly_ = false;
    assembler_.Abandon();
}

void PidStream::Reset() {
    assembler_.Reset();
    counters_ = {};
    counterKnown_ = false;
    finishedEarly_ = false;
    earlyProvedWrong_ = false;
}

} // namespace vistrame
