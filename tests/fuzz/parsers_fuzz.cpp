// Single parsers on any bytes, past the checks that keep most damage from them. The first byte chooses.
#include <cstdlib>

#include "transport/access_unit.h"
#include "transport/pes_assembler.h"
#include "transport/service_text.h"
#include "transport/tables.h"

namespace {

using namespace vistrame;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const ByteSpan bytes(data + 1, size - 1);
    switch (data[0] & 7) {
        case 0:
            (void)ParsePat(bytes);
            break;
        case 1:
            if (const auto pmt = ParsePmt(bytes)) {
                for (const ElementaryStream& stream : pmt->streams) {
                    Require(stream.language.empty() || stream.language.size() == 3);
                }
            }
            break;
        case 2:
            if (const auto sdt = ParseSdt(bytes)) {
                for (const SdtSection::Service& service : sdt->services) {
                    Require(IsUtf8(service.name));
                }
            }
            break;
        case 3: {
            PesHeader header;
            if (ParsePesHeader(bytes, header) == PesHeaderState::kValid) {
                Require(header.size <= bytes.size() && (header.total == 0 || header.total >= header.size));
            }
            break;
        }
        case 4:
        case 5:
        case 6: {
            constexpr Coding kCodings[] = {Coding::kMpeg2Video, Coding::kH264, Coding::kHevc};
            (void)IsRandomAccessPoint(kCodings[(data[0] & 7) - 4], bytes);
            break;
        }
        default:
            Require(IsUtf8(DecodeServiceText(bytes)));
            break;
    }
    return 0;
}
