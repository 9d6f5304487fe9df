// The filters' portable parts on any bytes: what cuts access units, and what keeps the last seconds. The
// first byte chooses; then come pieces, each behind a byte that says how long it is and what else happens.
#include <algorithm>
#include <new>
#include <numeric>
#include <vector>

#include "filters/decoders/access_unit_splitter.h"
#include "filters/kept/last_picture.h"
#include "tests/fuzz/require.h"

namespace {

using namespace vistrame;

struct Piece {
    ByteSpan bytes;
    unsigned mark = 0; // of its length byte: 0 to 7
};

Piece TakePiece(ByteSpan& bytes) {
    const unsigned head = bytes[0];
    const std::size_t size = std::min<std::size_t>(std::size_t{16} * (head & 31U) + 1, bytes.size() - 1);
    const Piece piece{bytes.subspan(1, size), head >> 5};
    bytes = bytes.subspan(1 + size);
    return piece;
}

template <Coding coding>
void Split(ByteSpan bytes) {
    std::size_t in = 0;
    std::size_t out = 0;
    std::size_t sum = 0; // so that every byte really is read
    bool fails = false;
    AccessUnitSplitter splitter(coding, [&](const AccessUnit& unit) {
        Require(!unit.data.empty());
        out += unit.data.size();
        sum = std::accumulate(unit.data.begin(), unit.data.end(), sum);
        Require(out <= in && sum <= 255 * out);
        if (fails) {
            throw std::bad_alloc();
        }
    });
    while (!bytes.empty()) {
        const Piece piece = TakePiece(bytes);
        in += piece.bytes.size();
        fails = piece.mark == 4;
        try {
            const std::vector<std::uint8_t> memory(piece.bytes.begin(), piece.bytes.end()); // for the call
            splitter.Feed(memory, (piece.mark & 1) != 0 ? std::optional(std::int64_t{40}) : std::nullopt);
        } catch (const std::bad_alloc&) {
            Require(fails);
        }
        fails = false;
        piece.mark == 6 ? splitter.Flush() : piece.mark == 7 ? splitter.Reset() : void();
    }
    splitter.Flush();
}

template <Coding coding>
void Keep(ByteSpan bytes) {
    KeptStream kept;
    KeptStream::Clock::time_point now{std::chrono::seconds(1000)};
    while (!bytes.empty()) {
        const Piece piece = TakePiece(bytes);
        now += std::chrono::milliseconds(piece.mark * 100);
        kept.Append(piece.bytes, piece.mark != 5, now);
        piece.mark == 7 ? kept.Forget() : void();
    }
    const KeptStream::Snapshot snapshot = kept.Take(now);
    std::size_t size = 0;
    for (const auto& block : snapshot) {
        Require(block->packets.size() % kPacketSize == 0);
        size += block->packets.size();
    }
    Require(size <= KeptStream::kMostBytes);
    if (const auto picture = FindLastPicture(snapshot, 0x101, coding)) {
        Require(picture->first > 0 && picture->first <= picture->data.size() && picture->data.size() <= size);
    }
}

constexpr void (*kParts[6])(ByteSpan) = {Split<Coding::kMpeg2Video>, Split<Coding::kH264>,
                                         Split<Coding::kHevc>,       Keep<Coding::kMpeg2Video>,
                                         Keep<Coding::kH264>,        Keep<Coding::kHevc>};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0) {
        kParts[data[0] % 6](ByteSpan(data + 1, size - 1));
    }
    return 0;
}
