#include "systemif/network.h"

#include "network/resolver_p.h"

#include <arpa/inet.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>

namespace systemif {
namespace network {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPayloadSize = 32;  // the token, then a fill pattern
constexpr int kCheckPingTimeoutMs = 1000;

class IcmpSocket {
public:
    // Unprivileged datagram socket where ping_group_range allows it, else a raw socket.
    IcmpSocket()
    {
        m_fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
        if (m_fd < 0) {
            m_fd = ::socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
            m_raw = m_fd >= 0;
        }
    }
    ~IcmpSocket()
    {
        if (m_fd >= 0) ::close(m_fd);
    }
    IcmpSocket(const IcmpSocket&) = delete;
    IcmpSocket& operator=(const IcmpSocket&) = delete;

    int fd() const { return m_fd; }
    // A raw socket sees every ICMP packet for this host, IP header included; a datagram socket sees only the
    // replies to its own requests, with the identifier replaced by the kernel.
    bool raw() const { return m_raw; }

private:
    int m_fd = -1;
    bool m_raw = false;
};

// What marks the replies to one call, so that concurrent pings never take each other's replies.
struct EchoMark {
    std::uint16_t identifier;
    std::uint64_t token;
};

EchoMark freshMark()
{
    static std::atomic<std::uint64_t> calls{0};
    const std::uint64_t call = ++calls;
    const auto now = static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
    return {static_cast<std::uint16_t>(::getpid() + call), now ^ (call << 48) ^ static_cast<std::uint64_t>(::getpid())};
}

std::uint16_t internetChecksum(const unsigned char* data, std::size_t size)
{
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < size; i += 2) sum += static_cast<std::uint32_t>(data[i] << 8 | data[i + 1]);
    if (size % 2) sum += static_cast<std::uint32_t>(data[size - 1] << 8);
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return htons(static_cast<std::uint16_t>(~sum));
}

std::size_t buildEchoRequest(unsigned char* packet, const EchoMark& mark, std::uint16_t sequence)
{
    icmphdr header{};
    header.type = ICMP_ECHO;
    header.un.echo.id = htons(mark.identifier);
    header.un.echo.sequence = htons(sequence);
    std::memcpy(packet, &header, sizeof header);
    unsigned char* payload = packet + sizeof header;
    std::memcpy(payload, &mark.token, sizeof mark.token);
    for (std::size_t i = sizeof mark.token; i < kPayloadSize; ++i) payload[i] = static_cast<unsigned char>(i);
    const std::size_t size = sizeof header + kPayloadSize;
    header.checksum = internetChecksum(packet, size);
    std::memcpy(packet, &header, sizeof header);
    return size;
}

bool isReplyTo(const unsigned char* data, std::size_t size, bool raw, const EchoMark& mark, std::uint16_t sequence)
{
    if (raw) {
        if (size < 1) return false;
        const std::size_t ipHeader = static_cast<std::size_t>(data[0] & 0x0f) * 4;
        if (size < ipHeader) return false;
        data += ipHeader;
        size -= ipHeader;
    }
    icmphdr header{};
    if (size < sizeof header + sizeof mark.token) return false;
    std::memcpy(&header, data, sizeof header);
    if (header.type != ICMP_ECHOREPLY || ntohs(header.un.echo.sequence) != sequence) return false;
    if (raw && ntohs(header.un.echo.id) != mark.identifier) return false;
    return std::memcmp(data + sizeof header, &mark.token, sizeof mark.token) == 0;
}

// Waits for the reply to one request; true when it came before the deadline.
bool awaitReply(const IcmpSocket& socket, const EchoMark& mark, std::uint16_t sequence, Clock::time_point deadline)
{
    unsigned char buffer[2048];
    for (;;) {
        const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (remaining.count() <= 0) return false;
        pollfd item{socket.fd(), POLLIN, 0};
        if (::poll(&item, 1, static_cast<int>(remaining.count())) <= 0) continue;
        const ssize_t got = ::recv(socket.fd(), buffer, sizeof buffer, MSG_DONTWAIT);
        if (got > 0 && isReplyTo(buffer, static_cast<std::size_t>(got), socket.raw(), mark, sequence)) return true;
    }
}

}  // namespace

PingInfo ping(const QString& address, int count, int timeoutMs)
{
    PingInfo info;
    if (count <= 0) return info;
    info.sent = info.lost = static_cast<std::uint32_t>(count);

    const std::chrono::milliseconds perEcho(std::max(timeoutMs, 0));
    const Clock::time_point deadline = Clock::now() + perEcho * count;
    sockaddr_in target{};
    target.sin_family = AF_INET;
    const QString host = address.trimmed();
    if (inet_pton(AF_INET, host.toLatin1().constData(), &target.sin_addr) != 1) {
        const QString resolved = resolveIPv4(host, {}, perEcho);
        if (resolved.isEmpty() || inet_pton(AF_INET, resolved.toLatin1().constData(), &target.sin_addr) != 1) return info;
    }
    const IcmpSocket socket;
    if (socket.fd() < 0) return info;

    const EchoMark mark = freshMark();
    std::uint32_t replies = 0;
    std::chrono::duration<double, std::milli> total{0};
    for (int i = 0; i < count; ++i) {
        const Clock::time_point sentAt = Clock::now();
        if (sentAt >= deadline) break;
        const auto sequence = static_cast<std::uint16_t>(i);
        unsigned char packet[sizeof(icmphdr) + kPayloadSize];
        const std::size_t size = buildEchoRequest(packet, mark, sequence);
        if (::sendto(socket.fd(), packet, size, 0, reinterpret_cast<const sockaddr*>(&target), sizeof target) < 0) {
            continue;  // unreachable network and the like: this request is lost
        }
        if (awaitReply(socket, mark, sequence, std::min(sentAt + perEcho, deadline))) {
            ++replies;
            total += Clock::now() - sentAt;
        }
    }
    info.lost = info.sent - replies;
    if (replies > 0) info.roundTripTime = static_cast<std::uint32_t>(std::lround(total.count() / replies));
    return info;
}

bool checkPing(const QString& host)
{
    return ping(host, 1, kCheckPingTimeoutMs).lost == 0;
}

}  // namespace network
}  // namespace systemif
