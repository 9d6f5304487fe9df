#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analyzer/base/outcome.h"
#include "analyzer/stream/selection.h"
#include "analyzer/stream/stream_file.h"

namespace vistrame {

// One selection of a programme and how long its first picture took.
struct SelectionFact {
    Selection selection;
    std::optional<double> pictureMsec;    // since SetPid was sent; nothing: none was seen
    std::vector<double> randomAccessMsec; // each random-access picture sent up to then
};

// What a report tells besides the stream itself. Counts are packets.
struct ReportFacts {
    std::vector<SelectionFact> selections;
    std::uint64_t sent = 0;
    std::uint64_t lost = 0;
    std::uint64_t damaged = 0;
    unsigned seams = 0;
    double lateMsec = 0;
    std::optional<std::uint32_t> playerExit; // of the last player
};

// "msec 465 random-access-msec 10,310", or "none".
std::string FormatPicture(const SelectionFact& fact);

// `key value` lines.
std::string FormatReport(const StreamFile& file, const ReportFacts& facts, const Outcome& outcome);

} // namespace vistrame
