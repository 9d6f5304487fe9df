#include "transport/stream_demultiplexer.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

#include "transport/access_unit.h"

namespace vistrame {
namespace {

constexpr std::uint8_t kPaddingStream = 0xBE;

} // namespace

StreamDemultiplexer::StreamDemultiplexer(StreamHandler& handler)
    : handler_(handler), cutter_([this](const PacketView& packet) { OnPacket(packet); }) {}

void StreamDemultiplexer::Feed(ByteSpan chunk) {
    assert(!feeding_ && !changes_.InHandler());
    feeding_ = true;
    cutter_.Feed(chunk);
    feeding_ = false;
    retired_.clear();
}

void StreamDemultiplexer::Flush() {
    changes_.Ask([this] { DoFlush(); });
}

void StreamDemultiplexer::Reset() {
    changes_.Ask([this] { DoReset(); });
}

void StreamDemultiplexer::AnnounceDiscontinuity() {
    changes_.Ask([this] { StartAnew(); });
}

void StreamDemultiplexer::AddStream(Pid pid, StreamKind kind, Coding assumed) {
    changes_.Ask([=, this] { Select(pid, kind, assumed); });
}

void StreamDemultiplexer::RemoveStream(Pid pid) {
    changes_.Ask([=, this] { Deselect(pid); });
}

void StreamDemultiplexer::RemoveAllStreams() {
    changes_.Ask([this] { DeselectAll(); });
}

void StreamDemultiplexer::SetClockPid(std::optional<Pid> pid) {
    changes_.Ask([=, this] { WantClockPid(pid); });
}

void StreamDemultiplexer::EarlyUnits(bool on) {
    changes_.Ask([=, this] { WantEarlyUnits(on); });
}

std::vector<Pid> StreamDemultiplexer::SelectedPids() const {
    std::vector<Pid> pids;
    for (const auto& stream : streams_) {
        pids.push_back(stream->packets.PacketId());
    }
    return pids;
}

StreamCounters StreamDemultiplexer::Counters(Pid pid) const {
    Stream* stream = Find(pid);
    return stream != nullptr ? stream->packets.Counters() : StreamCounters{};
}

void StreamDemultiplexer::DoFlush() {
    if (!feeding_) {
        feeding_ = true;
        cutter_.Flush();
        feeding_ = false;
    }
    ForEachStream([](Stream& stream) { stream.packets.Finish(); });
    ForceHeld();
}

void StreamDemultiplexer::DoReset() {
    cutter_.Reset();
    programmes_.Reset();
    placer_.Reset();
    held_.clear();
    heldBytes_ = 0;
    for (const auto& stream : streams_) {
        stream->packets.Reset();
        stream->coding = stream->assumed;
        stream->history = {};
        stream->placement = {};
        stream->held = 0;
    }
    packets_ = 0;
    pcrSeenPid_ = kNullPid;
    clockPid_ = clockPidWanted_.value_or(kNullPid);
}

void StreamDemultiplexer::StartAnew() {
    ForEachStream([](Stream& stream) { stream.packets.Break(); });
    ForceHeld();
    placer_.Clock().StartSegment();
}

void StreamDemultiplexer::Select(Pid pid, StreamKind kind, Coding assumed) {
    if (pid >= kPidCount) {
        return;
    }
    Deselect(pid);
    auto stream = std::make_unique<Stream>(pid, *this);
    stream->kind = kind;
    stream->assumed = assumed;
    stream->packets.EarlyUnits(earlyUnits_);
    streams_.push_back(std::move(stream));
    byPid_[pid] = streams_.back().get();
    UpdateCodings();
    UpdateClockPid();
}

void StreamDemultiplexer::Deselect(Pid pid) {
    Stream* stream = Find(pid);
    if (stream == nullptr) {
        return;
    }
    const auto found = std::ranges::find(streams_, stream, &std::unique_ptr<Stream>::get);
    retired_.push_back(std::move(*found)); // first of all: it may throw
    streams_.erase(found);
    byPid_[pid] = nullptr;
    for (const HeldUnit& unit : held_) {
        heldBytes_ -= unit.pid == pid ? unit.packet.bytes.size() : 0;
    }
    std::erase_if(held_, [&](const HeldUnit& unit) { return unit.pid == pid; });
    pcrSeenPid_ = pcrSeenPid_ == pid ? kNullPid : pcrSeenPid_;
    UpdateClockPid();
}

void StreamDemultiplexer::DeselectAll() {
    while (!streams_.empty()) {
        Deselect(streams_.back()->packets.PacketId());
    }
}

void StreamDemultiplexer::WantClockPid(std::optional<Pid> pid) {
    clockPidWanted_ = pid;
    UpdateClockPid();
}

void StreamDemultiplexer::WantEarlyUnits(bool on) {
    earlyUnits_ = on;
    for (const auto& stream : streams_) {
        stream->packets.EarlyUnits(on);
    }
}

// What is visited may deliver, and a handler may deselect.
void StreamDemultiplexer::ForEachStream(const std::function<void(Stream&)>& visit) {
    for (const Pid pid : SelectedPids()) {
        if (Stream* stream = Find(pid)) {
            visit(*stream);
        }
    }
}

void StreamDemultiplexer::OnPacket(const PacketView& packet) {
    ++packets_;
    try {
        TakePacket(packet);
    } catch (const std::bad_alloc&) {
        if (Stream* stream = Find(packet.PacketId())) {
            stream->packets.Lose();
        }
    }
}

void StreamDemultiplexer::TakePacket(const PacketView& packet) {
    const Pid pid = packet.PacketId();
    if (!packet.TransportError()) {
        if (programmes_.Wants(pid) && programmes_.Push(packet)) {
            UpdateCodings();
            UpdateClockPid();
            changes_.Call([this] { handler_.OnProgrammes(); });
        }
        if (clockPid_ == pid || (clockPid_ == kNullPid && Find(pid) != nullptr)) {
            if (const auto pcr = packet.Pcr()) {
                OnPcr(packet, *pcr);
            } else if (clockPid_ == pid && packet.DiscontinuityIndicator()) {
                placer_.Clock().ExpectDiscontinuity();
            }
        }
    }
    if (Stream* stream = Find(pid)) {
        stream->packets.Push(packet);
    }
}

void StreamDemultiplexer::OnPcr(const PacketView& packet, std::uint64_t pcr) {
    const Pid pid = packet.PacketId();
    if (clockPid_ != pid) {
        pcrSeenPid_ = pid;
        UpdateClockPid();
        if (clockPid_ != pid) {
            return;
        }
    }
    if (packet.DiscontinuityIndicator()) {
        placer_.Clock().ExpectDiscontinuity();
    }
    const std::uint64_t before = packets_ - 1;
    const PcrClock::Reading reading = placer_.OnPcr(pcr, before);
    const ClockReference clock{.pid = pid,
                               .raw = reading.raw,
                               .timeline = reading.timeline,
                               .segment = reading.segment,
                               .jump = reading.jump,
                               .packet = before};
    changes_.Call([&] { handler_.OnClock(clock); });
    ReleaseHeld();
}

void StreamDemultiplexer::OnPesHeader(PidStream& packets, const PesHeader& header) {
    Stream* stream = Find(packets.PacketId());
    if (stream != nullptr && &stream->packets == &packets) {
        stream->placement = placer_.Place(stream->history, header, packets_, clockPid_ != kNullPid);
    }
}

void StreamDemultiplexer::OnPes(PidStream& packets, PesAssembler::Packet&& packet) {
    Stream* stream = Find(packets.PacketId());
    if (stream == nullptr || &stream->packets != &packets) {
        return; // deselected by a handler while this packet was being assembled
    }
    if (packet.header.scrambled) {
        ++packets.Counters().scrambled;
    }
    if (packet.header.scrambled || packet.header.streamId == kPaddingStream) {
        packets.Recycle(std::move(packet));
        return;
    }
    if (packet.continued) {
        stream->placement = {};
        stream->placement.segment = placer_.Clock().Segment();
    }
    placer_.Revise(stream->placement);
    if (stream->placement.settled && stream->held == 0) {
        Deliver(*stream, std::move(packet), stream->placement);
        return;
    }
    const std::size_t bytes = packet.bytes.size();
    held_.push_back({packets.PacketId(), std::move(packet), stream->placement});
    heldBytes_ += bytes;
    ++stream->held;
    if (held_.size() > kMaxHeldUnits || heldBytes_ > kMaxHeldBytes) {
        ForceHeld();
    }
}

void StreamDemultiplexer::Deliver(Stream& stream, PesAssembler::Packet&& packet,
                                  const StampPlacer::Placement& placement) {
    const ByteSpan payload = packet.Payload();
    const StreamUnit unit{.pid = stream.packets.PacketId(),
                          .kind = stream.kind,
                          .coding = stream.coding,
                          .data = stream.kind == StreamKind::kElementary ? payload : ByteSpan(packet.bytes),
                          .memory = &packet.bytes,
                          .pts = placement.pts,
                          .dts = placement.dts,
                          .segment = placement.segment,
                          .discontinuity = packet.damaged,
                          .cut = packet.cut,
                          .randomAccess = !packet.continued && (packet.randomAccess ||
                                                                IsRandomAccessPoint(stream.coding, payload)),
                          .continued = packet.continued};
    StreamCounters& counters = stream.packets.Counters();
    ++counters.units;
    counters.bytes += unit.data.size();
    counters.randomAccessPoints += unit.randomAccess ? 1 : 0;
    changes_.Call([&] { handler_.OnUnit(unit); });
    stream.packets.Recycle(std::move(packet)); // also when deselected meanwhile: retired_ keeps it
}

// Delivers in order what a PCR has settled.
void StreamDemultiplexer::ReleaseHeld() {
    while (!held_.empty()) {
        HeldUnit& front = held_.front();
        placer_.Revise(front.placement);
        if (!front.placement.settled) {
            return;
        }
        HeldUnit unit = std::move(front);
        held_.pop_front();
        heldBytes_ -= unit.packet.bytes.size();
        if (Stream* stream = Find(unit.pid)) {
            --stream->held;
            Deliver(*stream, std::move(unit.packet), unit.placement);
        }
    }
}

// No PCR has come that could settle them: they begin a segment by their own stamps.
void StreamDemultiplexer::ForceHeld() {
    if (held_.empty()) {
        return;
    }
    placer_.Clock().StartSegment();
    for (HeldUnit& unit : held_) {
        placer_.Force(unit.placement, packets_);
    }
    ReleaseHeld();
}

void StreamDemultiplexer::UpdateCodings() {
    for (const auto& stream : streams_) {
        const ElementaryStream* found = programmes_.FindStream(stream->packets.PacketId());
        stream->coding =
            found != nullptr && found->coding != Coding::kOther ? found->coding : stream->assumed;
    }
}

void StreamDemultiplexer::UpdateClockPid() {
    const Pid pid = clockPidWanted_.value_or(FindClockPid());
    if (pid == clockPid_) {
        return;
    }
    if (placer_.Clock().Running()) {
        placer_.Clock().StartSegment(); // another programme's time base, as far as anyone knows
    }
    clockPid_ = pid;
}

Pid StreamDemultiplexer::FindClockPid() const {
    for (const auto& stream : streams_) {
        const Programme* programme = programmes_.FindProgrammeOf(stream->packets.PacketId());
        if (programme != nullptr && programme->pcrPid != kNullPid) {
            return programme->pcrPid;
        }
    }
    return pcrSeenPid_;
}

} // namespace vistrame
