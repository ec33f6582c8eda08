#include "systemif/network.h"

#include "network/network_p.h"

#include <arpa/inet.h>
#include <netinet/icmp6.h>
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

// ICMP over IPv4 or IPv6: the echo messages have the same layout, with their own type numbers, and an IPv4
// raw socket hands up the IP header too.
struct IcmpFamily {
    int domain;
    int protocol;
    std::uint8_t echoRequest;
    std::uint8_t echoReply;
    bool rawHasIpHeader;
};
const IcmpFamily kIcmpV4{AF_INET, IPPROTO_ICMP, ICMP_ECHO, ICMP_ECHOREPLY, true};
const IcmpFamily kIcmpV6{AF_INET6, IPPROTO_ICMPV6, ICMP6_ECHO_REQUEST, ICMP6_ECHO_REPLY, false};

class IcmpSocket {
public:
    // Unprivileged datagram socket where ping_group_range allows it, else a raw socket.
    explicit IcmpSocket(const IcmpFamily& family) : m_family(family)
    {
        m_fd = ::socket(family.domain, SOCK_DGRAM | SOCK_CLOEXEC, family.protocol);
        if (m_fd < 0) {
            m_fd = ::socket(family.domain, SOCK_RAW | SOCK_CLOEXEC, family.protocol);
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
    // A raw socket sees every ICMP packet for this host (an IPv4 one with its IP header); a datagram socket
    // sees only the replies to its own requests, with the identifier replaced by the kernel.
    bool raw() const { return m_raw; }
    const IcmpFamily& family() const { return m_family; }

private:
    const IcmpFamily& m_family;
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

// The checksum is computed here for IPv4; the kernel computes that of ICMPv6 over its pseudo-header.
std::size_t buildEchoRequest(unsigned char* packet, const IcmpFamily& family, const EchoMark& mark,
                             std::uint16_t sequence)
{
    icmphdr header{};
    header.type = family.echoRequest;
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

bool isReplyTo(const unsigned char* data, std::size_t size, const IcmpSocket& socket, const EchoMark& mark,
               std::uint16_t sequence)
{
    const bool raw = socket.raw();
    if (raw && socket.family().rawHasIpHeader) {
        if (size < 1) return false;
        const std::size_t ipHeader = static_cast<std::size_t>(data[0] & 0x0f) * 4;
        if (size < ipHeader) return false;
        data += ipHeader;
        size -= ipHeader;
    }
    icmphdr header{};
    if (size < sizeof header + sizeof mark.token) return false;
    std::memcpy(&header, data, sizeof header);
    if (header.type != socket.family().echoReply || ntohs(header.un.echo.sequence) != sequence) return false;
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
        if (got > 0 && isReplyTo(buffer, static_cast<std::size_t>(got), socket, mark, sequence)) return true;
    }
}

}  // namespace

PingInfo icmpPing(const QString& address, int count, int timeoutMs)
{
    PingInfo info;
    if (count <= 0) return info;
    info.sent = info.lost = static_cast<std::uint32_t>(count);

    const std::chrono::milliseconds perEcho(std::max(timeoutMs, 0));
    const Clock::time_point deadline = Clock::now() + perEcho * count;
    sockaddr_storage target{};
    socklen_t targetSize = 0;
    const IcmpFamily* family = &kIcmpV4;
    QString host = address.trimmed();
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']'))) host = host.mid(1, host.size() - 2);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&target);
    auto* v4 = reinterpret_cast<sockaddr_in*>(&target);
    if (inet_pton(AF_INET6, host.toLatin1().constData(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        targetSize = sizeof *v6;
        family = &kIcmpV6;
    } else {
        const QString resolved = inet_pton(AF_INET, host.toLatin1().constData(), &v4->sin_addr) == 1
                                     ? host
                                     : resolveIPv4(host, {}, perEcho);
        if (resolved.isEmpty() || inet_pton(AF_INET, resolved.toLatin1().constData(), &v4->sin_addr) != 1) return info;
        v4->sin_family = AF_INET;
        targetSize = sizeof *v4;
    }
    const IcmpSocket socket(*family);
    if (socket.fd() < 0) return info;

    const EchoMark mark = freshMark();
    std::uint32_t replies = 0;
    std::chrono::duration<double, std::milli> total{0};
    for (int i = 0; i < count; ++i) {
        const Clock::time_point sentAt = Clock::now();
        if (sentAt >= deadline) break;
        const auto sequence = static_cast<std::uint16_t>(i);
        unsigned char packet[sizeof(icmphdr) + kPayloadSize];
        const std::size_t size = buildEchoRequest(packet, *family, mark, sequence);
        if (::sendto(socket.fd(), packet, size, 0, reinterpret_cast<const sockaddr*>(&target), targetSize) < 0) {
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

}  // namespace network
}  // namespace systemif
