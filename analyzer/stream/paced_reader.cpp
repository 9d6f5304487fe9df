#include "analyzer/stream/paced_reader.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "analyzer/base/utf8.h"

namespace vistrame {

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 16;
// A stretch without a PCR ends after this much: 2 MB, 0.1 s (the longest regular distance of PCRs) at 160
// Mbit/s.
constexpr std::size_t kLongest = kPacketSize * 11'155;

} // namespace

PacedReader::PacedReader(const StreamFile& file)
    : source_(file),
      clockPid_(file.ClockPid()),
      file_(FilePath(file.Path()), std::ios::binary),
      chunk_(kChunk),
      meter_(kPcrPerSecond / file.PacketsPerSecond()) {}

void PacedReader::OnPacket(const PacketView& packet) {
    if (packet.PacketId() == clockPid_) {
        if (const auto pcr = packet.Pcr()) {
            references_.push_back({pending_.size(), *pcr, packet.DiscontinuityIndicator()});
        }
    }
    pending_.insert(pending_.end(), packet.Bytes().begin(), packet.Bytes().end());
}

bool PacedReader::Fill() {
    if (!file_) {
        return false;
    }
    file_.read(reinterpret_cast<char*>(chunk_.data()), static_cast<std::streamsize>(chunk_.size()));
    cutter_.Feed(ByteSpan(chunk_).first(static_cast<std::size_t>(file_.gcount())));
    if (!file_) {
        cutter_.Flush();
    }
    return true;
}

std::size_t PacedReader::FindEnd() {
    for (;;) {
        const std::size_t second = !references_.empty() && references_.front().at == 0 ? 1 : 0;
        if (references_.size() > second) {
            return references_[second].at;
        }
        if (pending_.size() >= kLongest || !Fill()) {
            return pending_.size();
        }
    }
}

bool PacedReader::Next(Stretch& stretch) {
    if (found_) {
        stretch = std::move(*found_);
        found_.reset();
        return true;
    }
    return Read(stretch);
}

bool PacedReader::Read(Stretch& stretch) {
    const std::size_t bytes = FindEnd();
    if (bytes == 0) {
        return false;
    }
    const auto end = pending_.begin() + static_cast<std::ptrdiff_t>(bytes);
    stretch.bytes.assign(pending_.begin(), end);
    stretch.fileSeconds = static_cast<double>(fileTicks_) / kPcrPerSecond;
    stretch.pcr.reset();
    if (!references_.empty() && references_.front().at == 0) {
        stretch.pcr = references_.front().pcr;
        if (fresh_) {
            (void)meter_.OnPcr(*stretch.pcr, 0, true);
        }
        references_.pop_front();
    }
    fresh_ = false;
    if (!references_.empty()) {
        const Reference& next = references_.front(); // ends this stretch
        const std::int64_t handedOn = meter_.Estimate(sinceReference_);
        stretch.duration =
            meter_.OnPcr(next.pcr, sinceReference_ + stretch.Packets(), next.discontinuity) - handedOn;
        stretch.duration = std::max<std::int64_t>(stretch.duration, 0);
        sinceReference_ = 0;
    } else {
        stretch.duration = meter_.Estimate(stretch.Packets());
        sinceReference_ += stretch.Packets();
    }
    stretch.sync = cutter_.Errors() - std::exchange(handedOn_, cutter_.Errors());
    pending_.erase(pending_.begin(), end);
    for (Reference& reference : references_) {
        reference.at -= bytes;
    }
    fileTicks_ += stretch.duration;
    return true;
}

void PacedReader::Rewind() {
    file_.clear();
    file_.seekg(0);
    cutter_.Reset();
    handedOn_ = {};
    pending_.clear();
    references_.clear();
    found_.reset();
    meter_.Break();
    sinceReference_ = 0;
    fileTicks_ = 0;
    fresh_ = true;
}

void PacedReader::LandAt(std::uint64_t packet) {
    Rewind();
    file_.seekg(static_cast<std::streamoff>(packet * source_.Stride()));
    for (std::size_t read = 0; references_.empty() && read < kLongest && Fill(); read += kChunk) {
    }
    const double ticksPerPacket = kPcrPerSecond / source_.PacketsPerSecond();
    fileTicks_ = std::llround(static_cast<double>(packet) * ticksPerPacket);
}

std::optional<std::int64_t> PacedReader::LandedTicks() const {
    if (references_.empty() || !source_.FirstPcr()) {
        return std::nullopt;
    }
    std::int64_t ticks = PcrDifference(references_.front().pcr, *source_.FirstPcr());
    // The clock wraps every 26.5 hours; the mean rate says which of its rounds this is.
    ticks += std::llround(static_cast<double>(fileTicks_ - ticks) / kPcrWrap) * kPcrWrap;
    return ticks - meter_.Estimate(references_.front().at / kPacketSize);
}

// Lands where the clock says so, or a little before. False: it does not lead there.
bool PacedReader::FindPlace(std::int64_t ticks) {
    constexpr int kTries = 6;
    constexpr std::int64_t kShort = kPcrPerSecond; // that much is read on rather than looked for again
    double packetsPerTick = source_.PacketsPerSecond() / kPcrPerSecond;
    const double wanted = static_cast<double>(std::max<std::int64_t>(ticks - kShort / 4, 0));
    double at = wanted * packetsPerTick;
    std::optional<std::pair<double, double>> before; // a place that was tried and its time
    for (int i = 0; i < kTries; ++i) {
        at = std::clamp(at, 0.0, source_.Seconds() * source_.PacketsPerSecond());
        LandAt(static_cast<std::uint64_t>(at));
        const auto landed = LandedTicks();
        if (!landed) {
            return false;
        }
        if ((*landed <= ticks && *landed > ticks - kShort) || (at < 1 && *landed >= ticks)) {
            fileTicks_ = std::max<std::int64_t>(*landed, 0);
            return true;
        }
        const auto here = static_cast<double>(*landed);
        if (before && (at - before->first) * (here - before->second) > 0) {
            packetsPerTick = (at - before->first) / (here - before->second);
        }
        before = {at, here};
        at += (wanted - here) * packetsPerTick;
    }
    return false;
}

bool PacedReader::Seek(double seconds) {
    const std::int64_t ticks = std::llround(seconds * kPcrPerSecond);
    if (!FindPlace(ticks)) {
        LandAt(static_cast<std::uint64_t>(seconds * source_.PacketsPerSecond()));
    }
    Stretch stretch;
    while (Read(stretch)) {
        if (fileTicks_ > ticks) {
            found_ = std::move(stretch);
            return true;
        }
    }
    return false;
}

} // namespace vistrame
