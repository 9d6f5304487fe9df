#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "transport/bytes.h"

namespace vistrame {

// Where a live stream is received: "udp://239.1.2.3:1234", "udp://:1234" (sent to this machine), or the same
// with "rtp". Behind it "?interface=192.168.0.5" says which of this machine's addresses joins the group.
struct NetworkAddress {
    std::uint32_t group = 0; // of IPv4, host order; 0: any address of this machine
    std::uint16_t port = 0;
    std::uint32_t interfaceAddress = 0; // 0: the system's choice

    bool Multicast() const { return group >> 28 == 0xE; }
};

// The name of a stream that is no file: an address, or "-" for standard input.
bool IsLive(const std::string& stream);

// Nothing: not understood.
std::optional<NetworkAddress> ParseAddress(const std::string& text);

// The transport packets of a datagram, with or without the header of RTP in front of them. Empty: neither.
ByteSpan DatagramPackets(ByteSpan datagram);

} // namespace vistrame
