#include "transport/tables.h"

#include "transport/descriptors.h"
#include "transport/service_text.h"

namespace vistrame {
namespace {

constexpr std::uint8_t kPatTable = 0x00;
constexpr std::uint8_t kPmtTable = 0x02;
constexpr std::uint8_t kSdtActualTable = 0x42;
constexpr std::uint8_t kTerrestrialVctTable = 0xC8;
constexpr std::uint8_t kCableVctTable = 0xC9;
constexpr std::size_t kLongHeader = 8; // behind it the table's own fields begin
constexpr std::size_t kCrc = 4;
constexpr std::uint8_t kLanguageDescriptor = 0x0A;
constexpr std::uint8_t kServiceDescriptor = 0x48;
constexpr std::uint8_t kExtensionDescriptor = 0x7F;
constexpr std::uint8_t kSupplementaryAudio = 0x06; // its tag inside the extension descriptor

// Header and body (without CRC) of a section of this table, when it is one and in force.
std::optional<SectionHeader> ReadHeader(ByteSpan section, std::uint8_t table, ByteSpan& body) {
    const bool fits = section.size() >= kLongHeader + kCrc && section[0] == table &&
                      (section[1] & 0x80) != 0 &&
                      section.size() == std::size_t{3} + (ReadBig16(section, 1) & 0x0FFF);
    if (!fits || (section[5] & 0x01) == 0) {
        return std::nullopt;
    }
    body = section.subspan(kLongHeader, section.size() - kLongHeader - kCrc);
    return SectionHeader{.tableId = table,
                         .tableIdExtension = ReadBig16(section, 3),
                         .version = static_cast<std::uint8_t>(section[5] >> 1 & 0x1F),
                         .number = section[6],
                         .lastNumber = section[7]};
}

// A descriptor loop behind its length at `at`, of 12 bits unless said otherwise; nothing when it does not
// fit.
std::optional<ByteSpan> ReadLoop(ByteSpan body, std::size_t at, unsigned lengthMask = 0x0FFF) {
    if (body.size() < at + 2) {
        return std::nullopt;
    }
    const std::size_t length = ReadBig16(body, at) & lengthMask;
    if (body.size() - at - 2 < length) {
        return std::nullopt;
    }
    return body.subspan(at + 2, length);
}

std::string LanguageOf(ByteSpan descriptors) {
    std::string language;
    ForEachDescriptor(descriptors, [&](std::uint8_t tag, ByteSpan body) {
        if (tag == kLanguageDescriptor && body.size() >= 3 && language.empty()) {
            for (const std::uint8_t letter : body.first(3)) {
                language += letter >= 0x20 && letter < 0x7F ? static_cast<char>(letter) : '?';
            }
        }
    });
    return language;
}

// By the audio type of MPEG-2 systems, or the supplementary audio descriptor of DVB.
bool IsAudioDescription(ByteSpan descriptors) {
    constexpr std::uint8_t kVisuallyImpaired = 3; // audio_type
    bool described = false;
    ForEachDescriptor(descriptors, [&](std::uint8_t tag, ByteSpan body) {
        const bool byType = tag == kLanguageDescriptor && body.size() >= 4 && body[3] == kVisuallyImpaired;
        // mix_type, then five bits of editorial_classification, of which 1 is the audio description
        const bool byClass = tag == kExtensionDescriptor && body.size() >= 2 &&
                             body[0] == kSupplementaryAudio && (body[1] >> 2 & 0x1F) == 1;
        described = described || byType || byClass;
    });
    return described;
}

std::string ServiceNameOf(ByteSpan descriptors) {
    std::string name;
    ForEachDescriptor(descriptors, [&](std::uint8_t tag, ByteSpan body) {
        // service type, provider name behind its length, service name behind its length
        if (tag != kServiceDescriptor || body.size() < 3) {
            return;
        }
        const std::size_t at = 2 + std::size_t{body[1]};
        if (body.size() > at && body.size() - at - 1 >= body[at]) {
            name = DecodeServiceText(body.subspan(at + 1, body[at]));
        }
    });
    return name;
}

// UTF-16, filled up with zeros.
std::string ChannelNameOf(ByteSpan name) {
    constexpr std::uint8_t kUcs2 = 0x11; // selects the table that these are text of
    std::vector<std::uint8_t> text{kUcs2};
    text.insert(text.end(), name.begin(), name.end());
    return DecodeServiceText(text);
}

} // namespace

std::optional<PatSection> ParsePat(ByteSpan section) {
    ByteSpan body;
    const auto header = ReadHeader(section, kPatTable, body);
    if (!header) {
        return std::nullopt;
    }
    PatSection pat{.header = *header, .entries = {}};
    for (; body.size() >= 4; body = body.subspan(4)) {
        if (const std::uint16_t programme = ReadBig16(body, 0); programme != 0) {
            pat.entries.push_back({.programme = programme, .pmtPid = ReadPid(body, 2)});
        }
    }
    return pat;
}

std::optional<PmtSection> ParsePmt(ByteSpan section) {
    ByteSpan body;
    const auto header = ReadHeader(section, kPmtTable, body);
    const auto programmeInfo = header ? ReadLoop(body, 2) : std::nullopt;
    if (!programmeInfo) {
        return std::nullopt;
    }
    PmtSection pmt{.header = *header, .pcrPid = ReadPid(body, 0), .streams = {}};
    body = body.subspan(4 + programmeInfo->size());
    while (!body.empty()) {
        const auto descriptors = ReadLoop(body, 3);
        if (!descriptors) {
            return std::nullopt;
        }
        pmt.streams.push_back({.pid = ReadPid(body, 1),
                               .streamType = body[0],
                               .coding = CodingOf(body[0], *descriptors),
                               .language = LanguageOf(*descriptors),
                               .audioDescription = IsAudioDescription(*descriptors)});
        body = body.subspan(5 + descriptors->size());
    }
    return pmt;
}

std::optional<SdtSection> ParseSdt(ByteSpan section) {
    ByteSpan body;
    const auto header = ReadHeader(section, kSdtActualTable, body);
    if (!header || body.size() < 3) {
        return std::nullopt;
    }
    SdtSection sdt{.header = *header, .services = {}};
    body = body.subspan(3); // original network and a reserved byte
    while (!body.empty()) {
        const auto descriptors = ReadLoop(body, 3);
        if (!descriptors) {
            return std::nullopt;
        }
        sdt.services.push_back({.programme = ReadBig16(body, 0), .name = ServiceNameOf(*descriptors)});
        body = body.subspan(5 + descriptors->size());
    }
    return sdt;
}

std::optional<VctSection> ParseVct(ByteSpan section) {
    constexpr std::size_t kName = 14;   // seven characters of UTF-16
    constexpr std::size_t kFields = 30; // in front of a channel's descriptors and their length
    ByteSpan body;
    auto header = ReadHeader(section, kTerrestrialVctTable, body);
    header = header ? header : ReadHeader(section, kCableVctTable, body);
    if (!header || body.size() < 2) {
        return std::nullopt;
    }
    VctSection vct{.header = *header, .channels = {}};
    unsigned left = body[1];
    for (body = body.subspan(2); left > 0; --left) {
        const auto descriptors = ReadLoop(body, kFields, 0x03FF);
        if (!descriptors) {
            return std::nullopt;
        }
        const std::uint32_t numbers = ReadBig32(body, kName);
        const std::uint16_t programme = ReadBig16(body, 24);
        if (programme != 0 && programme != 0xFFFF) { // none; an analogue channel
            const std::string number =
                std::to_string(numbers >> 18 & 0x3FF) + "." + std::to_string(numbers >> 8 & 0x3FF);
            vct.channels.push_back(
                {.programme = programme, .name = number + " " + ChannelNameOf(body.first(kName))});
        }
        body = body.subspan(kFields + 2 + descriptors->size());
    }
    return vct;
}

} // namespace vistrame
