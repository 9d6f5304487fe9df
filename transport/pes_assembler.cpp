#include "transport/pes_assembler.h"

#include <algorithm>
#include <utility>

namespace vistrame {
namespace {

constexpr std::size_t kShortHeader = 6; // start code, stream id, length
constexpr std::size_t kLongHeader = 9;  // and flags, and the length of the optional fields
constexpr std::size_t kStampSize = 5;

// Stream ids whose packets have no optional fields: stream map, padding, private 2, ECM, EMM, directory,
// DSM-CC, H.222.1 E.
constexpr bool HasShortHeader(std::uint8_t id) {
    return id == 0xBC || id == 0xBE || id == 0xBF || id == 0xF0 || id == 0xF1 || id == 0xFF || id == 0xF2 ||
           id == 0xF8;
}

// 33 bits in three groups, each followed by a marker bit that is 1.
std::optional<std::uint64_t> ReadStamp(ByteSpan at) {
    if ((at[0] & 1) == 0 || (at[2] & 1) == 0 || (at[4] & 1) == 0) {
        return std::nullopt;
    }
    return std::uint64_t{at[0] >> 1 & 7U} << 30 | std::uint64_t{ReadBig16(at, 1) >> 1 & 0x7FFFU} << 15 |
           (ReadBig16(at, 3) >> 1 & 0x7FFFU);
}

void ReadStamps(ByteSpan bytes, PesHeader& header) {
    const unsigned flags = bytes[7] >> 6;
    if (flags >= 2 && header.size >= kLongHeader + kStampSize) {
        header.pts = ReadStamp(bytes.subspan(kLongHeader, kStampSize));
        header.dts = header.pts;
    }
    if (flags == 3 && header.pts && header.size >= kLongHeader + 2 * kStampSize) {
        const auto dts = ReadStamp(bytes.subspan(kLongHeader + kStampSize, kStampSize));
        header.dts = dts ? dts : header.pts;
    }
}

} // namespace

PesHeaderState ParsePesHeader(ByteSpan bytes, PesHeader& header) {
    constexpr std::uint8_t kStartCode[] = {0, 0, 1};
    const std::size_t compared = std::min(bytes.size(), std::size(kStartCode));
    if (!std::equal(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(compared),
                    std::begin(kStartCode))) {
        return PesHeaderState::kInvalid;
    }
    if (bytes.size() < kShortHeader) {
        return PesHeaderState::kIncomplete;
    }
    header = {};
    header.streamId = bytes[3];
    const std::size_t length = ReadBig16(bytes, 4);
    header.total = length == 0 ? 0 : kShortHeader + length;
    if (HasShortHeader(header.streamId)) {
        header.size = kShortHeader;
        return PesHeaderState::kValid;
    }
    if (bytes.size() < kLongHeader) {
        return PesHeaderState::kIncomplete;
    }
    header.size = kLongHeader + bytes[8];
    if ((bytes[6] & 0xC0) != 0x80 || (header.total != 0 && header.total < header.size)) {
        return PesHeaderState::kInvalid;
    }
    if (bytes.size() < header.size) {
        return PesHeaderState::kIncomplete;
    }
    header.scrambled = (bytes[6] & 0x30) != 0;
    ReadStamps(bytes, header);
    return PesHeaderState::kValid;
}

PesAssembler::Progress PesAssembler::Push(const PacketView& packet) {
    if (packet.UnitStart()) {
        Begin();
        current_.randomAccess = packet.RandomAccessIndicator();
    }
    Progress progress;
    if (!collecting_) {
        return progress;
    }
    const ByteSpan payload = packet.Payload();
    current_.bytes.insert(current_.bytes.end(), payload.begin(), payload.end());
    if (!headerKnown_) {
        const PesHeaderState state = ParsePesHeader(current_.bytes, current_.header);
        if (state == PesHeaderState::kInvalid) {
            Abandon();
        }
        if (state != PesHeaderState::kValid) {
            return progress;
        }
        headerKnown_ = true;
        progress.header = true;
    }
    const std::size_t total = current_.header.total;
    if (total != 0 && current_.bytes.size() >= total) {
        current_.bytes.resize(total);
        progress.finished = Finish();
    } else if (current_.bytes.size() >= kMaxPes) {
        MarkDamaged();
        progress.finished = Finish();
        nextDamaged_ = true;
    }
    return progress;
}

bool PesAssembler::Finish() {
    const bool usable = collecting_ && headerKnown_;
    if (collecting_ && !usable) {
        Abandon();
    } else if (usable && current_.bytes.size() < current_.header.total) {
        current_.damaged = current_.cut = true;
    }
    collecting_ = false;
    return usable;
}

void PesAssembler::Begin() {
    current_.bytes.clear();
    current_.header = {};
    current_.damaged = std::exchange(nextDamaged_, false);
    current_.cut = false;
    current_.randomAccess = false;
    current_.continued = false;
    collecting_ = true;
    headerKnown_ = false;
}

void PesAssembler::Continue() {
    Begin();
    current_.continued = true;
    headerKnown_ = true;
}

void PesAssembler::MarkDamaged() {
    if (collecting_ && headerKnown_) {
        current_.damaged = current_.cut = true;
    } else {
        Abandon(); // half a header is worth nothing
    }
}

void PesAssembler::Abandon() {
    collecting_ = false;
    nextDamaged_ = true;
}

void PesAssembler::Reset() {
    collecting_ = false;
    nextDamaged_ = false;
}

PesAssembler::Packet PesAssembler::Take() {
    return std::exchange(current_, {});
}

void PesAssembler::Recycle(Packet&& packet) {
    if (!collecting_ && current_.bytes.capacity() < packet.bytes.capacity()) {
        current_.bytes = std::move(packet.bytes);
    }
}

} // namespace vistrame
