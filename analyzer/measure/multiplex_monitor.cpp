#include "analyzer/measure/multiplex_monitor.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vistrame {

namespace {

constexpr double kSecond = 1000;
// What TR 101 290 takes for an error: tables further apart than this, and a PID of a map that is silent so
// long (there it is for the user to say; 5 s is the usual choice).
constexpr double kTableMsec = 500;
constexpr double kPidMsec = 5000;

constexpr double Bits(std::uint64_t packets) {
    return static_cast<double>(packets) * kPacketSize * 8;
}

bool SameMap(const Programme& one, const Programme& other) {
    return one.mapped == other.mapped && one.pmtPid == other.pmtPid && one.pcrPid == other.pcrPid &&
           one.streams == other.streams;
}

} // namespace

void MultiplexMonitor::Push(std::span<const std::uint8_t> packets, double now, SyncErrors between) {
    const std::scoped_lock hold(lock_);
    errors_.syncByte += between.bytes;
    errors_.syncLoss += between.losses;
    if (begun_ < 0 && !packets.empty()) {
        begun_ = secondBegun_ = lastPat_ = now;
    }
    Advance(now);
    for (; packets.size() >= kPacketSize; packets = packets.subspan(kPacketSize)) {
        OnPacket(PacketView(packets.first<kPacketSize>()), now);
    }
    CheckTables(now);
}

void MultiplexMonitor::Break() {
    const std::scoped_lock hold(lock_);
    for (auto& [pid, watch] : pids_) {
        watch.counter.reset();
        watch.pcrs.Break();
    }
}

bool MultiplexMonitor::CheckSync(const PacketView& packet) {
    const bool missed = packet.Bytes()[0] != kSyncByte;
    errors_.syncByte += missed ? 1 : 0;
    errors_.syncLoss += missed && syncMissed_ && !lost_ ? 1 : 0;
    lost_ = missed && syncMissed_;
    syncMissed_ = missed;
    return !missed;
}

void MultiplexMonitor::OnPacket(const PacketView& packet, double now) {
    ++packets_;
    if (!CheckSync(packet)) {
        return; // whose packet it is cannot be trusted
    }
    const Pid pid = packet.PacketId();
    PidWatch& watch = pids_[pid];
    ++watch.packets;
    ++watch.now;
    if (packet.TransportError()) {
        ++watch.transportErrors;
        ++errors_.transport;
        return; // nothing else in it can be trusted
    }
    if (pid != kNullPid) {
        CheckContinuity(watch, packet);
    }
    if (packet.HasPayload()) { // without it a clock may go on under the PID of what is gone
        watch.scrambled = packet.Scrambled();
        watch.lastMsec = now;
    }
    if (const auto pcr = packet.Pcr()) {
        watch.pcrs.OnPcr(*pcr, packets_, packet.DiscontinuityIndicator());
        watch.lastPcrMsec = now;
    }
    if (watch.headers) {
        watch.headers->Push(packet);
    }
    if (pid == kPatPid) {
        lastPat_ = now;
        patLate_ = false;
    }
    if (packet.UnitStart()) {
        for (auto& [number, map] : maps_) {
            if (map.programme.pmtPid == pid) {
                map.lastMapMsec = now;
                map.pmtLate = false;
            }
        }
    }
    if (table_.Push(packet)) {
        OnTables(now);
    }
}

void MultiplexMonitor::CheckContinuity(PidWatch& watch, const PacketView& packet) {
    const unsigned counter = packet.ContinuityCounter();
    if (!packet.HasPayload()) {
        return;
    }
    if (watch.counter && !packet.DiscontinuityIndicator() && counter != ((*watch.counter + 1) & 0x0F)) {
        const bool repeated = counter == *watch.counter && !watch.repeated; // once is allowed
        watch.continuityErrors += repeated ? 0 : 1;
        errors_.continuity += repeated ? 0 : 1;
        watch.repeated = counter == *watch.counter;
    } else {
        watch.repeated = false;
    }
    watch.counter = counter;
}

void MultiplexMonitor::OnTables(double now) {
    ++revision_;
    std::erase_if(maps_, [this](const auto& entry) { return table_.FindProgramme(entry.first) == nullptr; });
    for (const Programme& programme : table_.Programmes()) {
        const auto [entry, added] = maps_.try_emplace(programme.number);
        MapWatch& map = entry->second;
        if (added || !SameMap(map.programme, programme)) {
            map.sinceMsec = map.lastMapMsec = now;
            for (const ElementaryStream& stream : programme.streams) {
                pids_[stream.pid].headers =
                    IsVideo(stream.coding) ? std::optional<PictureHeaders>(stream.coding) : std::nullopt;
            }
        }
        map.programme = programme;
    }
}

void MultiplexMonitor::Advance(double now) {
    if (now - secondBegun_ > (kHistorySeconds + 1) * kSecond) { // nothing was sent for longer than is kept
        secondBegun_ = now - (kHistorySeconds + 1) * kSecond;
    }
    for (; begun_ >= 0 && now - secondBegun_ >= kSecond; secondBegun_ += kSecond) {
        slot_ = (slot_ + 1) % kHistorySeconds;
        for (auto& [pid, watch] : pids_) {
            watch.seconds[slot_] = std::exchange(watch.now, 0);
        }
    }
}

void MultiplexMonitor::CheckTables(double now) {
    const auto count = [](bool late, bool& counted, std::uint64_t& errors) {
        errors += late && !counted ? 1 : 0;
        counted = late;
    };
    if (begun_ < 0) {
        return;
    }
    count(now - lastPat_ > kTableMsec, patLate_, errors_.pat);
    for (auto& entry : maps_) {
        MapWatch& map = entry.second;
        count(now - map.lastMapMsec > kTableMsec, map.pmtLate, errors_.pmt);
        const bool silent = std::ranges::any_of(map.programme.streams, [&](const ElementaryStream& stream) {
            return now - std::max(pids_[stream.pid].lastMsec, map.sinceMsec) > kPidMsec;
        });
        count(silent, map.pidsLate, errors_.pid);
    }
}

std::uint64_t MultiplexMonitor::Revision() {
    const std::scoped_lock hold(lock_);
    return revision_;
}

std::optional<Programme> MultiplexMonitor::Mapped(std::uint16_t number) {
    const std::scoped_lock hold(lock_);
    const Programme* const found = table_.FindProgramme(number);
    return found != nullptr && found->mapped ? std::optional(*found) : std::nullopt;
}

PidReading MultiplexMonitor::Reading(Pid pid, const PidWatch& watch, double now) const {
    return {.pid = pid,
            .packets = watch.packets,
            .bitsPerSecond = Bits(watch.seconds[slot_]),
            .silentMsec = now - watch.lastMsec,
            .scrambled = watch.scrambled,
            .continuityErrors = watch.continuityErrors,
            .transportErrors = watch.transportErrors};
}

ProgrammeReading MultiplexMonitor::Reading(const MapWatch& map, double now) const {
    ProgrammeReading reading;
    reading.programme = map.programme;
    reading.mappedMsec = now - map.sinceMsec;
    std::set<Pid> pids{map.programme.pmtPid, map.programme.pcrPid};
    for (const ElementaryStream& stream : map.programme.streams) {
        pids.insert(stream.pid);
        const auto watch = pids_.find(stream.pid);
        reading.streams.push_back(watch != pids_.end() ? Reading(stream.pid, watch->second, now)
                                                       : PidReading{.pid = stream.pid, .silentMsec = now});
        if (!reading.shape && watch != pids_.end() && watch->second.headers) {
            reading.shape = watch->second.headers->Shape();
            reading.picture = watch->second.headers->Text();
        }
    }
    pids.erase(kNullPid);
    for (const Pid pid : pids) {
        const auto watch = pids_.find(pid);
        for (std::size_t i = 0; watch != pids_.end() && i < kHistorySeconds; ++i) {
            reading.history[i] +=
                static_cast<float>(Bits(watch->second.seconds[(slot_ + 1 + i) % kHistorySeconds]));
        }
    }
    reading.bitsPerSecond = reading.history.back();
    reading.pcrSilentMsec = reading.mappedMsec;
    if (const auto clock = pids_.find(map.programme.pcrPid); clock != pids_.end()) {
        const auto& pcrs = clock->second.pcrs.Readings();
        reading.pcrs.assign(pcrs.begin(), pcrs.end());
        reading.pcrSilentMsec = std::min(now - clock->second.lastPcrMsec, reading.mappedMsec);
    }
    return reading;
}

MultiplexReading MultiplexMonitor::Read(double now) {
    const std::scoped_lock hold(lock_);
    Advance(now);
    CheckTables(now);
    MultiplexReading reading;
    reading.tables = table_.PatSeen();
    reading.errors = errors_;
    for (const auto& [number, map] : maps_) {
        reading.programmes.push_back(Reading(map, now));
    }
    for (const auto& [pid, watch] : pids_) {
        if (watch.packets > 0) {
            reading.pids.push_back(Reading(pid, watch, now));
            reading.bitsPerSecond += reading.pids.back().bitsPerSecond;
            reading.errors.pcrRepetition += watch.pcrs.RepetitionErrors();
            reading.errors.pcrDiscontinuity += watch.pcrs.DiscontinuityErrors();
        }
    }
    return reading;
}

} // namespace vistrame
