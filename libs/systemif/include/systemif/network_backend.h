#pragma once
// The operating-system services behind network.h, one small interface each: ICMP echo and name resolution.
// The machine's own services are used unless setNetworkBackend names others (the fakes of network_fake.h
// in tests), as print_backend.h does for printing.

#include "systemif/network.h"

#include <QString>
#include <QStringList>

namespace systemif {
namespace network {

class Pinger {
public:
    virtual ~Pinger() = default;
    // As ping() of network.h.
    virtual PingInfo ping(const QString& address, int count, int timeoutMs) = 0;
};

class Resolver {
public:
    virtual ~Resolver() = default;
    // As getIpByHostFromDNS() of network.h.
    virtual QString resolve(const QString& host, const QStringList& dnsServers) = 0;
};

// The services the network operations use. A null member stands for the machine's own service.
struct NetworkBackend {
    Pinger* pinger = nullptr;
    Resolver* resolver = nullptr;
};

// The services in use now, the machine's own (ICMP sockets and c-ares) in place of null members.
NetworkBackend networkBackend();
// Uses the given services from now on; the objects must outlive their use.
void setNetworkBackend(const NetworkBackend& backend);

}  // namespace network
}  // namespace systemif
