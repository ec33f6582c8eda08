#include "systemif/network_backend.h"

#include "backend_choice_p.h"
#include "network/network_p.h"

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

BackendChoice<NetworkBackend>& choice()
{
    static BackendChoice<NetworkBackend> chosen;
    return chosen;
}

}  // namespace

NetworkBackend networkBackend()
{
    static IcmpPinger pinger;
    static CaresResolver resolver;
    return choice().current([](NetworkBackend& backend) {
        if (!backend.pinger) backend.pinger = &pinger;
        if (!backend.resolver) backend.resolver = &resolver;
    });
}

void setNetworkBackend(const NetworkBackend& backend)
{
    choice().choose(backend);
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
