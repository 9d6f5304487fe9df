// Single parsers on any bytes, past the checks that keep most damage from them. The first byte chooses.
#include "tests/fuzz/require.h"
#include "transport/aac_framing.h"
#include "transport/access_unit.h"
#include "transport/active_format.h"
#include "transport/pes_assembler.h"
#include "transport/picture_shape.h"
#include "transport/service_text.h"
#include "transport/tables.h"

namespace {

using namespace vistrame;

// Every lead byte has its continuation bytes, and none stands without one.
bool IsUtf8(const std::string& text) {
    std::size_t due = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (((byte & 0xC0) == 0x80) != (due > 0) || byte == 0xC0 || byte == 0xC1) {
            return false;
        }
        due = due > 0 ? due - 1 : byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : byte >= 0xC0 ? 1 : 0;
    }
    return due == 0;
}

void Pmt(ByteSpan bytes) {
    const auto pmt = ParsePmt(bytes);
    for (const ElementaryStream& stream : pmt ? pmt->streams : std::vector<ElementaryStream>()) {
        Require(stream.language.empty() || stream.language.size() == 3);
    }
}

void Sdt(ByteSpan bytes) {
    const auto sdt = ParseSdt(bytes);
    for (const auto& service : sdt ? sdt->services : std::vector<SdtSection::Service>()) {
        Require(IsUtf8(service.name));
    }
}

void Pes(ByteSpan bytes) {
    PesHeader header;
    if (ParsePesHeader(bytes, header) == PesHeaderState::kValid) {
        Require(header.size <= bytes.size() && (header.total == 0 || header.total >= header.size));
    }
}

template <Coding coding>
void Stream(ByteSpan bytes) {
    (void)IsRandomAccessPoint(coding, bytes);
    (void)FindPictureShape(coding, bytes);
    if (const auto format = FindActiveFormat(coding, bytes)) {
        Require(*format < 16);
    }
    (void)HoldsAacFrame(Coding::kAacAdts, bytes);
    (void)HoldsAacFrame(Coding::kAacLatm, bytes);
}

constexpr void (*kParsers[8])(ByteSpan) = {
    [](ByteSpan bytes) { (void)ParsePat(bytes); },
    Pmt,
    Sdt,
    Pes,
    Stream<Coding::kMpeg2Video>,
    Stream<Coding::kH264>,
    Stream<Coding::kHevc>,
    [](ByteSpan bytes) { Require(IsUtf8(DecodeServiceText(bytes))); },
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0) {
        kParsers[data[0] & 7](ByteSpan(data + 1, size - 1));
    }
    return 0;
}
