// Before windows.h, which brings the former of these otherwise.
#include <winsock2.h>
#include <ws2tcpip.h>

#include "analyzer/source/network_source.h"

#include <array>
#include <thread>

#include "analyzer/base/utf8.h"
#include "analyzer/source/address.h"

namespace vistrame {

namespace {

// Winsock as long as the program runs.
bool StartNetwork() {
    static const bool started = [] {
        WSADATA about{};
        return WSAStartup(MAKEWORD(2, 2), &about) == 0;
    }();
    return started;
}

class NetworkSource final : public LiveSource {
public:
    ~NetworkSource() override {
        stop_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
        if (socket_ != INVALID_SOCKET) {
            (void)closesocket(socket_); // nothing is left to do about a failure
        }
    }

    // False and WSAGetLastError: it cannot be listened to.
    bool Listen(const NetworkAddress& address) {
        socket_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
        const BOOL shared = TRUE;
        const int buffer = 4 << 20;      // a second at 32 Mbit/s
        const DWORD timeout = kLookMsec; // so that the end is noticed
        // Others may listen too; what cannot be set costs packets when the machine is busy.
        (void)setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, Bytes(&shared), sizeof shared);
        (void)setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, Bytes(&buffer), sizeof buffer);
        (void)setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, Bytes(&timeout), sizeof timeout);
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_port = htons(address.port);
        own.sin_addr.s_addr = htonl(address.Multicast() ? 0 : address.group);
        if (bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
            return false;
        }
        ip_mreq group{};
        group.imr_multiaddr.s_addr = htonl(address.group);
        group.imr_interface.s_addr = htonl(address.interfaceAddress);
        if (address.Multicast() &&
            setsockopt(socket_, IPPROTO_IP, IP_ADD_MEMBERSHIP, Bytes(&group), sizeof group) != 0) {
            return false;
        }
        thread_ = std::thread([this] { Run(); });
        return true;
    }

private:
    static constexpr DWORD kLookMsec = 100;

    template <typename Value>
    static const char* Bytes(const Value* value) {
        return reinterpret_cast<const char*>(value);
    }

    void Run() {
        std::array<std::uint8_t, 65536> datagram;
        while (!stop_) {
            const int size =
                recv(socket_, reinterpret_cast<char*>(datagram.data()), static_cast<int>(datagram.size()), 0);
            if (size > 0) {
                Receive(DatagramPackets(ByteSpan(datagram).first(static_cast<std::size_t>(size))));
            } else if (WSAGetLastError() != WSAETIMEDOUT) {
                Sleep(kLookMsec); // it may come again, as after the sender's restart
            }
        }
    }

    SOCKET socket_ = INVALID_SOCKET;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

} // namespace

Outcome OpenLiveSource(const std::string& stream, std::shared_ptr<LiveSource>& source) {
    if (stream == "-") {
        source = MakeInputSource();
        return {};
    }
    const auto address = ParseAddress(stream);
    if (!address) {
        return {ExitCode::kStream, stream + ": no address; udp://239.1.2.3:1234 or udp://:1234 are"};
    }
    auto network = std::make_shared<NetworkSource>();
    if (!StartNetwork() || !network->Listen(*address)) {
        return {ExitCode::kStream, stream + ": cannot be listened to: " +
                                       ErrorText(static_cast<unsigned long>(WSAGetLastError()))};
    }
    source = std::move(network);
    return {};
}

} // namespace vistrame
