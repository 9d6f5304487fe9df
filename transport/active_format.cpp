#include "transport/active_format.h"

#include <array>
#include <string_view>

#include "transport/nal_unit.h"
#include "transport/start_codes.h"

namespace vistrame {
namespace {

// "DTG1", a flag, and the format where the flag is set.
std::optional<ActiveFormat> ReadUserData(ByteSpan data) {
    constexpr std::uint32_t kIdentifier = 0x44544731;
    constexpr std::uint8_t kFormatFlag = 0x40;
    if (data.size() < 5 || ReadBig32(data, 0) != kIdentifier) {
        return std::nullopt;
    }
    if ((data[4] & kFormatFlag) == 0) {
        return 0;
    }
    return data.size() > 5 ? std::optional<ActiveFormat>(data[5] & 0x0FU) : std::nullopt;
}

// Of the user data that ITU-T T.35 registers those of ATSC hold it, behind the numbers of country and
// provider.
std::optional<ActiveFormat> ReadMessages(ByteSpan unit) {
    constexpr std::size_t kRegisteredUserData = 4;
    constexpr std::uint8_t kUnitedStates = 0xB5;
    constexpr std::uint16_t kAtsc = 0x0031;
    SeiMessages messages(unit);
    for (auto message = messages.Next(); message; message = messages.Next()) {
        const ByteSpan payload = message->payload;
        if (message->type == kRegisteredUserData && payload.size() > 3 && payload[0] == kUnitedStates &&
            ReadBig16(payload, 1) == kAtsc) {
            if (const auto format = ReadUserData(payload.subspan(3))) {
                return format;
            }
        }
    }
    return std::nullopt;
}

// Where a coding has it, and what it must stand before.
struct Units {
    std::uint8_t (*type)(std::uint8_t code);
    std::uint8_t data, firstSlice, lastSlice;
    std::size_t header; // bytes, the code's own among them
};

std::optional<Units> UnitsOf(Coding coding) {
    const auto code = [](std::uint8_t byte) { return byte; };
    switch (coding) {
        case Coding::kMpeg1Video:
        case Coding::kMpeg2Video:
            return Units{code, 0xB2, 0x01, 0xAF, 1};
        case Coding::kH264:
            return Units{[](std::uint8_t byte) { return std::uint8_t(byte & 0x1F); }, 6, 1, 5, 1};
        case Coding::kHevc:
            return Units{[](std::uint8_t byte) { return std::uint8_t(byte >> 1 & 0x3F); }, 39, 0, 31, 2};
        default:
            return std::nullopt;
    }
}

} // namespace

std::optional<ActiveFormat> FindActiveFormat(Coding coding, ByteSpan accessUnit) {
    constexpr std::size_t kLongestUnit = 256; // captions may stand beside it
    const auto units = UnitsOf(coding);
    StartCodes codes(accessUnit);
    for (ByteSpan rest = codes.Next(); units && rest.size() > units->header; rest = codes.Next()) {
        const std::uint8_t type = units->type(rest[0]);
        if (type >= units->firstSlice && type <= units->lastSlice) {
            break;
        }
        if (type != units->data) {
            continue;
        }
        const ByteSpan data =
            rest.subspan(units->header, std::min(rest.size() - units->header, kLongestUnit));
        const auto format = coding == Coding::kH264 || coding == Coding::kHevc ? ReadMessages(Unescaped(data))
                                                                               : ReadUserData(data);
        if (format) {
            return format;
        }
    }
    return std::nullopt;
}

std::string ActiveFormatName(ActiveFormat format) {
    constexpr std::array<std::string_view, 16> kNames{"not said",
                                                      "",
                                                      "16:9 top",
                                                      "14:9 top",
                                                      "wider than 16:9",
                                                      "",
                                                      "",
                                                      "",
                                                      "whole frame",
                                                      "4:3 centre",
                                                      "16:9 centre",
                                                      "14:9 centre",
                                                      "",
                                                      "4:3, 14:9 protected",
                                                      "16:9, 14:9 protected",
                                                      "16:9, 4:3 protected"};
    const std::string_view name = format < kNames.size() ? kNames[format] : "";
    return name.empty() ? "reserved " + std::to_string(format) : std::string(name);
}

} // namespace vistrame
