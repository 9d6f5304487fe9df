#include "analyzer/source/address.h"

#include <string_view>

#include "analyzer/base/text.h"
#include "transport/packet.h"

namespace vistrame {

namespace {

// Four numbers with dots between them.
std::optional<std::uint32_t> ParseIp(std::string_view text) {
    std::uint32_t address = 0;
    for (int part = 0; part < 4; ++part) {
        const auto dot = part < 3 ? text.find('.') : text.size();
        const auto number = dot != std::string_view::npos ? ParseNumber(text.substr(0, dot)) : std::nullopt;
        if (!number || *number > 255) {
            return std::nullopt;
        }
        address = address << 8 | *number;
        text.remove_prefix(part < 3 ? dot + 1 : dot);
    }
    return address;
}

} // namespace

bool IsLive(const std::string& stream) {
    return stream == "-" || stream.starts_with("udp://") || stream.starts_with("rtp://");
}

std::optional<NetworkAddress> ParseAddress(const std::string& text) {
    constexpr std::string_view kInterface = "?interface=";
    constexpr std::size_t kScheme = 6; // "udp://"
    if (!IsLive(text) || text.size() < kScheme) {
        return std::nullopt;
    }
    NetworkAddress address;
    std::string_view rest = std::string_view(text).substr(kScheme);
    if (const auto at = rest.find(kInterface); at != std::string_view::npos) {
        const auto own = ParseIp(rest.substr(at + kInterface.size()));
        if (!own) {
            return std::nullopt;
        }
        address.interfaceAddress = *own;
        rest = rest.substr(0, at);
    }
    if (rest.starts_with('@')) { // as other programs write it
        rest.remove_prefix(1);
    }
    const auto colon = rest.find(':');
    const auto port = colon != std::string_view::npos ? ParseNumber(rest.substr(colon + 1)) : std::nullopt;
    const auto group = colon == 0 ? std::optional<std::uint32_t>(0) : ParseIp(rest.substr(0, colon));
    if (!port || *port == 0 || *port > 0xFFFF || !group) {
        return std::nullopt;
    }
    address.group = *group;
    address.port = static_cast<std::uint16_t>(*port);
    return address;
}

ByteSpan DatagramPackets(ByteSpan datagram) {
    constexpr std::size_t kRtpHeader = 12;
    if (datagram.size() >= kPacketSize && datagram[0] == kSyncByte) {
        return datagram;
    }
    if (datagram.size() < kRtpHeader || datagram[0] >> 6 != 2) { // the version
        return {};
    }
    std::size_t header = kRtpHeader + std::size_t{4} * (datagram[0] & 0x0FU); // contributing sources
    if ((datagram[0] & 0x10) != 0) {                                          // an extension behind them
        header += datagram.size() >= header + 4 ? 4 + std::size_t{4} * ReadBig16(datagram, header + 2)
                                                : datagram.size();
    }
    const std::size_t padding = (datagram[0] & 0x20) != 0 ? datagram.back() : 0;
    if (datagram.size() < header + padding + kPacketSize || datagram[header] != kSyncByte) {
        return {};
    }
    return datagram.subspan(header, datagram.size() - header - padding);
}

} // namespace vistrame
