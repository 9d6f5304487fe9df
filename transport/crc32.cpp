#include "transport/crc32.h"

#include <array>

namespace vistrame {
namespace {

constexpr std::array<std::uint32_t, 256> kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t value = i << 24;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 0x80000000U) != 0 ? value << 1 ^ 0x04C11DB7U : value << 1;
        }
        table[i] = value;
    }
    return table;
}();

} // namespace

std::uint32_t Crc32Mpeg(ByteSpan bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const std::uint8_t byte : bytes) {
        crc = crc << 8 ^ kTable[(crc >> 24 ^ byte) & 0xFF];
    }
    return crc;
}

} // namespace vistrame
