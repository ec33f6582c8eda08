#pragma once
// Private to systemif: not part of its interface.
// The machine's ICMP echo and name resolution, behind the
// backends of network_backend.cpp.

#include "systemif/network.h"

#include <QString>
#include <QStringList>

#include <chrono>

namespace systemif {
namespace network {

// Whether the text can be a host name: dot-separated labels of letters, digits, '-' and '_', each of at most
// 63 characters, 253 in all, with an optional final dot. Checked before any query leaves the machine.
bool isValidHostName(const QString& text);

// The first IPv4 address of the host as text, asked of the servers (the system's resolver when the list is
// empty) and given up after the timeout; empty on any failure.
QString resolveIPv4(const QString& host, const QStringList& servers, std::chrono::milliseconds timeout);

// ping() of network.h over ICMP sockets.
PingInfo icmpPing(const QString& address, int count, int timeoutMs);

}  // namespace network
}  // namespace systemif
