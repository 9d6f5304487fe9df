#include <gtest/gtest.h>

#include "analyzer/source/address.h"
#include "tests/transport/ts_builder.h"

namespace vistrame::test {
namespace {

TEST(Address, IsUnderstoodOrNot) {
    struct Row {
        const char* text;
        std::uint32_t group; // and port 0: not understood
        std::uint16_t port;
        std::uint32_t own;
    };
    const Row rows[] = {
        {"udp://239.1.2.3:1234", 0xEF010203, 1234, 0},
        {"rtp://@224.0.0.9:5004?interface=10.0.0.7", 0xE0000009, 5004, 0x0A000007},
        {"udp://:4000", 0, 4000, 0},
        {"udp://239.1.2:1234", 0, 0, 0},
        {"udp://239.1.2.300:1234", 0, 0, 0},
        {"udp://239.1.2.3", 0, 0, 0},
        {"udp://239.1.2.3:70000", 0, 0, 0},
        {"udp://239.1.2.3:1234?interface=eth0", 0, 0, 0},
        {"-", 0, 0, 0},
    };
    for (const Row& row : rows) {
        const NetworkAddress address = ParseAddress(row.text).value_or(NetworkAddress());
        EXPECT_EQ(address.group, row.group) << row.text;
        EXPECT_EQ(address.port, row.port) << row.text;
        EXPECT_EQ(address.interfaceAddress, row.own) << row.text;
    }
}

TEST(Address, DatagramsHoldPacketsBehindHeadersOfEveryLength) {
    Bytes packets(2 * kPacketSize, 0xAA);
    packets[0] = packets[kPacketSize] = kSyncByte;
    struct Row {
        Bytes header;
        Bytes padding;
        bool good;
    };
    const Bytes plain{0x80, 33, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3};
    Bytes full = plain;
    full[0] = 0x80 | 0x20 | 0x10 | 2; // padding, extension, two sources
    full.insert(full.end(), {0, 0, 0, 4, 0, 0, 0, 5, 0xBE, 0xDE, 0, 1, 9, 9, 9, 9});
    Bytes tooLong = full;
    tooLong[23] = 0xFF; // the extension's length
    const Row rows[] = {
        {{}, {}, true}, {plain, {}, true}, {full, {0, 0, 3}, true}, {tooLong, {0, 0, 3}, false}};
    for (const Row& row : rows) {
        Bytes datagram = row.header;
        datagram.insert(datagram.end(), packets.begin(), packets.end());
        datagram.insert(datagram.end(), row.padding.begin(), row.padding.end());
        const ByteSpan found = DatagramPackets(datagram);
        EXPECT_EQ(Bytes(found.begin(), found.end()), row.good ? packets : Bytes());
    }
}

} // namespace
} // namespace vistrame::test
