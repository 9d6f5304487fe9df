#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "transport/bytes.h"
#include "transport/coding.h"

namespace vistrame {

// One picture's bytes as the video decoder takes them: a frame, or with H.264 a single field.
struct AccessUnit {
    ByteSpan data; // borrowed until the sink returns
    std::optional<std::int64_t> time;
};

// Cuts the payload of a video elementary stream into access units.
//
// A unit ends where the next one starts, so it would always come out one picture late. Demultiplexers deliver
// whole PES packets and those hold whole units nearly always; therefore the end of a piece counts as the end
// of its unit until a piece proves otherwise by not starting with a unit. Then units end at the next start
// only, until kTrustAfter pieces in a row have started with one.
//
// Units      times 100 ns; a piece's time belongs to the first unit that starts in it.
// Threads    none of its own, not thread-safe.
// Ownership  copies the bytes of the unfinished unit only; the sink must not call back.
// Errors     bytes before the first start are dropped; a unit longer than kMaxUnitBytes is given out as it
//            is. What the sink throws goes on to whoever feeds, and the unfinished unit is lost.
class AccessUnitSplitter {
public:
    using Sink = std::function<void(const AccessUnit&)>;

    static constexpr int kTrustAfter = 25;
    static constexpr std::size_t kMaxUnitBytes = std::size_t{8} << 20; // above any level's largest picture

    // `coding` is one of the video codings.
    AccessUnitSplitter(Coding coding, Sink sink) : coding_(coding), sink_(std::move(sink)) {}

    void Feed(ByteSpan piece, std::optional<std::int64_t> time);
    // Gives out the unfinished unit.
    void Flush();
    // Drops the unfinished unit; what was learned about the pieces stays.
    void Reset();

private:
    // What a start code means to the unit under way.
    enum class Element : std::uint8_t {
        kInside,      // belongs to it and says no more
        kHeader,      // starts the next unit when this one has its picture
        kPicture,     // so does this, and it is the picture
        kSecondField, // of the frame under way
        kSlice,       // part of a picture, whose beginning may be lost
    };

    Element Classify(std::size_t at);
    Element ClassifyMpeg(ByteSpan code);
    void Scan(std::size_t pieceStart);
    void StartUnit(std::size_t at);
    void Emit(std::size_t end);
    void Drop(std::size_t bytes);
    void KeepRest();
    bool IsWhole() const { return started_ && hasPicture_ && !secondFieldDue_; }

    const Coding coding_;
    const Sink sink_;
    ByteSpan bytes_;                 // the unit under way: in the piece that is being fed, or kept
    std::vector<std::uint8_t> kept_; // what began in an earlier piece
    std::size_t scanned_ = 0;        // start codes before this position in bytes_ are dealt with
    bool started_ = false;           // bytes_ begins with the start of a unit
    bool hasPicture_ = false;        // or what is left of it
    bool secondFieldDue_ = false;    // MPEG video: the picture under way is the first field of its frame
    bool secondField_ = false;       // MPEG video: it is the second
    std::uint32_t temporalReference_ = 0;
    std::optional<std::int64_t> unitTime_;
    std::optional<std::int64_t> pieceTime_; // until a unit takes it
    std::size_t pieceTimeAt_ = 0;           // where its piece begins in bytes_
    bool pieceStartsUnit_ = false;
    int trust_ = kTrustAfter; // pieces in a row that started with a unit
};

} // namespace vistrame
