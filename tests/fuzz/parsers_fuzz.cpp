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

bool IsUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        if ((lead >= 0x80 && lead < 0xC2) || at + length > text.size()) {
            return false;
        }
        for (std::size_t i = 1; i < length; ++i) {
            if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) {
                return false;
            }
        }
        at += length;
    }
    return true;
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
            (void)IsRandomAccessPoint(Coding::kMpeg2Video, bytes);
            break;
        case 5:
            (void)IsRandomAccessPoint(Coding::kH264, bytes);
            break;
        case 6:
            (void)IsRandomAccessPoint(Coding::kHevc, bytes);
            break;
        default:
            Require(IsUtf8(DecodeServiceText(bytes)));
            break;
    }
    return 0;
}
