#include "tests/live/random_access.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <optional>

namespace vistrame::live {

std::vector<double> RandomAccessTimes(const std::string& file, int pid) {
    constexpr double kPcrPerSecond = 27e6;
    constexpr std::uint64_t kPcrWrap = 300ULL << 33;
    std::ifstream stream(file, std::ios::binary);
    std::array<std::uint8_t, 188> packet{};
    std::vector<double> times;
    std::optional<std::uint64_t> last;
    int clock = -1;
    double seconds = 0;      // of the last PCR
    double perPacket = 0;    // by the last two
    std::uint64_t since = 0; // packets
    while (stream.read(reinterpret_cast<char*>(packet.data()), packet.size())) {
        ++since;
        const int own = (packet[1] & 0x1F) << 8 | packet[2];
        const bool adaptation = (packet[3] & 0x20) != 0 && packet[4] > 0;
        if (adaptation && (packet[5] & 0x10) != 0 && (clock < 0 || clock == own)) {
            clock = own;
            const std::uint64_t base = std::uint64_t{packet[6]} << 25 | packet[7] << 17 | packet[8] << 9 |
                                       packet[9] << 1 | packet[10] >> 7;
            const std::uint64_t pcr = base * 300 + ((packet[10] & 1) << 8 | packet[11]);
            if (last) {
                const double passed =
                    static_cast<double>((pcr + kPcrWrap - *last) % kPcrWrap) / kPcrPerSecond;
                perPacket = passed < 1 ? passed / static_cast<double>(since) : perPacket;
                seconds += perPacket * static_cast<double>(since);
            }
            last = pcr;
            since = 0;
        }
        if (own == pid && adaptation && (packet[5] & 0x40) != 0 && last) {
            times.push_back(seconds + perPacket * static_cast<double>(since));
        }
    }
    return times;
}

} // namespace vistrame::live
