#pragma once
// Reachability of hosts: ICMP echo and name resolution.

#include <QString>
#include <QStringList>

#include <cstdint>

namespace systemif {
namespace network {

struct PingInfo {
    std::uint32_t sent = 0;           // echo requests the call was asked for, sent or not
    std::uint32_t lost = 0;           // of them, the ones without a reply in time (all of them when the
                                      // host could not be resolved or no ICMP socket could be opened)
    std::uint32_t roundTripTime = 0;  // average over the replies, in milliseconds, rounded; 0 without replies
};

// Sends count ICMP echo requests to the address (an IPv4 address or a host name, resolved first), one after
// another, waiting up to timeoutMs for each reply. Never takes longer than about count * timeoutMs. Uses an
// unprivileged ICMP datagram socket where the system allows one (net.ipv4.ping_group_range), else a raw
// socket (root or CAP_NET_RAW).
PingInfo ping(const QString& address, int count, int timeoutMs);

// Whether the host answers one echo request within a second.
bool checkPing(const QString& host);

// The first IPv4 address of the host as text, asked of the given DNS servers ("a.b.c.d" or "a.b.c.d:port")
// only, or of the system's resolver (hosts file, then its DNS servers) when the list is empty. Empty when
// the name is not a valid host name, cannot be resolved or no answer came within three seconds.
QString getIpByHostFromDNS(const QString& host, const QStringList& dnsServers);

}  // namespace network
}  // namespace systemif
