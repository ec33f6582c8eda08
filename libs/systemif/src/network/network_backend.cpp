#include "systemif/network_backend.h"

#include "network/network_p.h"

#include <mutex>

namespace systemif {
namespace network {

namespace {

const std::chrono::seconds kDnsBudget(3);
const int kCheckPingTimeoutMs = 1000;

class IcmpPinger : public Pinger {
public:
    PingInfo ping(const QString& address, int count, int timeoutMs) override
    {
        return icmpPing(address, count, timeoutMs);
    }
};

class CaresResolver : public Resolver {
public:
    QString resolve(const QString& host, const QStringList& dnsServers) override
    {
        return resolveIPv4(host, dnsServers, kDnsBudget);
    }
};

std::mutex g_mutex;
NetworkBackend g_chosen;  // guarded by g_mutex; null members stand for the system's services

}  // namespace

NetworkBackend systemNetworkBackend()
{
    static IcmpPinger pinger;
    static CaresResolver resolver;
    return NetworkBackend{&pinger, &resolver};
}

NetworkBackend networkBackend()
{
    const NetworkBackend system = systemNetworkBackend();
    std::lock_guard<std::mutex> lock(g_mutex);
    NetworkBackend backend = g_chosen;
    if (!backend.pinger) backend.pinger = system.pinger;
    if (!backend.resolver) backend.resolver = system.resolver;
    return backend;
}

void setNetworkBackend(const NetworkBackend& backend)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_chosen = backend;
}

PingInfo ping(const QString& address, int count, int timeoutMs)
{
    return networkBackend().pinger->ping(address, count, timeoutMs);
}

bool checkPing(const QString& host)
{
    return ping(host, 1, kCheckPingTimeoutMs).lost == 0;
}

QString getIpByHostFromDNS(const QString& host, const QStringList& dnsServers)
{
    return networkBackend().resolver->resolve(host, dnsServers);
}

}  // namespace network
}  // namespace systemif
