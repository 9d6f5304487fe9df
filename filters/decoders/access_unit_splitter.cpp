#include "filters/decoders/access_unit_splitter.h"

#include <algorithm>

namespace vistrame {

namespace {

// Bytes from the start code on that Classify looks at.
constexpr std::size_t ClassifiedBytes(Coding coding) {
    switch (coding) {
        case Coding::kH264:
            return 5; // start code, unit header, first bits of the slice header
        case Coding::kHevc:
            return 6; // the same with a unit header of two bytes
        default:
            return 7; // start code 00, temporal reference; or start code B5 with the picture structure
    }
}

} // namespace

void AccessUnitSplitter::Feed(ByteSpan piece, std::optional<std::int64_t> time) {
    if (piece.empty()) {
        return;
    }
    const std::size_t pieceStart = bytes_.size();
    if (pieceStart == 0) {
        bytes_ = piece; // usually a whole unit, of which nothing has to be kept
    } else {
        kept_.insert(kept_.end(), piece.begin(), piece.end());
        bytes_ = kept_;
    }
    if (time) {
        pieceTime_ = time;
        pieceTimeAt_ = pieceStart;
    }
    pieceStartsUnit_ = false;
    try {
        Scan(pieceStart);
        trust_ = pieceStartsUnit_ ? std::min(trust_ + 1, kTrustAfter) : 0;
        if ((trust_ == kTrustAfter && IsWhole()) || bytes_.size() > kMaxUnitBytes) {
            Flush();
        }
        KeepRest();
    } catch (...) {
        Reset(); // nothing may point into the piece from here on
        throw;
    }
}

void AccessUnitSplitter::KeepRest() {
    const bool kept = !kept_.empty() && !bytes_.empty(); // bytes_ is a part of kept_, to its end
    if (kept) {
        kept_.erase(kept_.begin(), kept_.end() - static_cast<std::ptrdiff_t>(bytes_.size()));
    } else {
        kept_.assign(bytes_.begin(), bytes_.end());
    }
    bytes_ = kept_;
}

void AccessUnitSplitter::Flush() {
    if (started_) {
        Emit(bytes_.size());
    }
    Reset();
}

void AccessUnitSplitter::Reset() {
    bytes_ = {};
    kept_.clear();
    scanned_ = 0;
    pieceTimeAt_ = 0;
    started_ = false;
    hasPicture_ = false;
    secondFieldDue_ = false;
    unitTime_.reset();
}

void AccessUnitSplitter::Scan(std::size_t pieceStart) {
    const std::size_t needed = ClassifiedBytes(coding_);
    while (scanned_ + needed <= bytes_.size()) {
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(scanned_);
        const std::uint8_t prefix[] = {0, 0, 1};
        const auto found = std::search(from, bytes_.end(), std::begin(prefix), std::end(prefix));
        const auto at = static_cast<std::size_t>(found - bytes_.begin());
        if (at + needed > bytes_.size()) {
            scanned_ = std::min(at, bytes_.size() - 2); // the prefix itself may be cut
            break;
        }
        scanned_ = at + 3;
        // Zeros before a start code belong to it, as far as they came with it.
        std::size_t start = at;
        while (start > 0 && start != pieceStart && start != pieceTimeAt_ && bytes_[start - 1] == 0) {
            --start;
        }
        const Element element = Classify(at);
        const bool mayStart = element == Element::kHeader || element == Element::kPicture;
        pieceStartsUnit_ |= start == pieceStart && (mayStart || element == Element::kSecondField);
        if (mayStart && (!started_ || hasPicture_)) {
            StartUnit(start);
            pieceStart -= std::min(pieceStart, start);
        }
        hasPicture_ |= started_ && (element == Element::kPicture || element == Element::kSlice);
    }
    if (!started_) {
        Drop(scanned_); // nothing begins in here
    }
}

AccessUnitSplitter::Element AccessUnitSplitter::Classify(std::size_t at) {
    const ByteSpan code = bytes_.subspan(at + 3);
    if (coding_ == Coding::kH264) {
        const int type = code[0] & 0x1F;
        if (type == 1 || type == 2 || type == 5) {
            const bool firstMacroblock = (code[1] & 0x80) != 0; // an Exp-Golomb coded 0 is the bit 1
            return firstMacroblock ? Element::kPicture : Element::kSlice;
        }
        return (type >= 6 && type <= 9) || (type >= 14 && type <= 18) ? Element::kHeader : Element::kInside;
    }
    if (coding_ == Coding::kHevc) {
        const int type = code[0] >> 1 & 0x3F;
        const int layer = (code[0] & 1) << 5 | code[1] >> 3;
        if (layer != 0) {
            return Element::kInside;
        }
        if (type < 32) {
            return (code[2] & 0x80) != 0 ? Element::kPicture : Element::kSlice; // first slice segment
        }
        return type <= 35 || type == 39 || (type >= 41 && type <= 44) || (type >= 48 && type <= 55)
                   ? Element::kHeader
                   : Element::kInside;
    }
    return ClassifyMpeg(code);
}

AccessUnitSplitter::Element AccessUnitSplitter::ClassifyMpeg(ByteSpan code) {
    switch (code[0]) {
        case 0xB3: // sequence
        case 0xB8: // group of pictures
            return Element::kHeader;
        case 0xB5: // extension; that of the picture holds its structure, 3: a frame
            if (code[1] >> 4 == 8) {
                secondFieldDue_ = !secondField_ && (code[3] & 3) != 3;
            }
            return Element::kInside;
        case 0x00: { // picture
            const std::uint32_t reference = static_cast<std::uint32_t>(code[1]) << 2 | code[2] >> 6;
            secondField_ = secondFieldDue_ && reference == temporalReference_;
            secondFieldDue_ = false;
            temporalReference_ = reference;
            return secondField_ ? Element::kSecondField : Element::kPicture;
        }
        default:
            return code[0] < 0xB0 ? Element::kSlice : Element::kInside;
    }
}

void AccessUnitSplitter::StartUnit(std::size_t at) {
    if (started_) {
        Emit(at);
    }
    unitTime_.reset();
    if (at >= pieceTimeAt_) {
        unitTime_.swap(pieceTime_);
    }
    Drop(at);
    started_ = true;
    hasPicture_ = false;
    secondFieldDue_ = false;
}

void AccessUnitSplitter::Drop(std::size_t bytes) {
    bytes_ = bytes_.subspan(bytes);
    scanned_ -= bytes;
    pieceTimeAt_ -= std::min(pieceTimeAt_, bytes);
}

void AccessUnitSplitter::Emit(std::size_t end) {
    sink_({bytes_.first(end), unitTime_});
}

} // namespace vistrame
