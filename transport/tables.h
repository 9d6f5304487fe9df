#pragma once

#include <optional>
#include <string>
#include <vector>

#include "transport/coding.h"

namespace vistrame {

// Parsers of the tables that name the programmes of a stream. Each takes one intact section (CRC already
// checked) and answers nothing when it is another table, is not in force yet (current_next_indicator) or does
// not hold together.

struct SectionHeader {
    std::uint8_t tableId = 0;
    std::uint16_t tableIdExtension = 0; // transport stream id, programme number
    std::uint8_t version = 0;
    std::uint8_t number = 0;
    std::uint8_t lastNumber = 0;
};

struct PatSection {
    struct Entry {
        std::uint16_t programme = 0; // never 0: the network entry is left out
        Pid pmtPid = kNullPid;
    };
    SectionHeader header;
    std::vector<Entry> entries;
};

struct ElementaryStream {
    Pid pid = kNullPid;
    std::uint8_t streamType = 0;
    Coding coding = Coding::kOther;
    std::string language;          // three letters of ISO 639-2 as transmitted, or empty
    bool audioDescription = false; // the sound tells what the picture shows, for those who do not see it

    bool operator==(const ElementaryStream&) const = default;
};

struct PmtSection {
    SectionHeader header;
    Pid pcrPid = kNullPid;
    std::vector<ElementaryStream> streams;
};

struct SdtSection {
    struct Service {
        std::uint16_t programme = 0;
        std::string name; // UTF-8
    };
    SectionHeader header;
    std::vector<Service> services;
};

// ATSC virtual channels, terrestrial or cable.
struct VctSection {
    SectionHeader header;
    std::vector<SdtSection::Service> channels; // "7.1 NAME"; those without a programme here are left out
};

std::optional<PatSection> ParsePat(ByteSpan section);
std::optional<PmtSection> ParsePmt(ByteSpan section);
// The actual transport stream's only.
std::optional<SdtSection> ParseSdt(ByteSpan section);
std::optional<VctSection> ParseVct(ByteSpan section);

} // namespace vistrame
