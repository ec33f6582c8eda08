#include "service_business/proxy_config.h"

#include "proxy_config_p.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "systemif/network.h"

#include <mutex>

namespace service_business {

namespace proxy {
namespace {

const int kPingCount = 20;
const int kPingTimeoutMs = 3000;

QList<utility_business::ProxyServerInfo> storedServers()
{
    return json_db::JsonDB::browser()->proxyServersInfo();
}

struct Cache {
    std::mutex mutex;
    QString host;
    int port = 0;
    QString address;
    ServersFunction servers = storedServers;
};

Cache& cache()
{
    static Cache c;
    return c;
}

// The candidate of a group: the first index with the strictly smallest value.
template <typename Value>
int smallest(const QList<int>& group, Value value)
{
    int best = -1;
    for (int index : group)
        if (best < 0 || value(index) < value(best)) best = index;
    return best;
}

}  // namespace

int selectProxy(const QList<utility_business::ProxyServerInfo>& servers)
{
    if (servers.isEmpty()) return -1;
    if (servers.size() == 1) return 0;

    QList<systemif::network::PingInfo> results;
    QList<int> good, fair, poor;
    for (int i = 0; i < servers.size(); ++i) {
        const systemif::network::PingInfo stats = systemif::network::ping(servers[i].address, kPingCount, kPingTimeoutMs);
        results << stats;
        // Nothing sent and nothing lost gives NaN, which fails both comparisons and lands with the poor.
        const float ratio = static_cast<float>(static_cast<double>(stats.lost) / static_cast<double>(stats.sent));
        if (ratio < 0.2f)
            good << i;
        else if (ratio >= 0.2f && ratio < 0.6f)
            fair << i;
        else
            poor << i;
    }
    const auto rtt = [&](int i) { return results[i].roundTripTime; };
    const auto lost = [&](int i) { return results[i].lost; };
    if (!good.isEmpty()) return smallest(good, rtt);
    if (!fair.isEmpty()) return smallest(fair, lost);
    if (!poor.isEmpty()) return smallest(poor, lost);
    return 0;
}

bool dnsAnswersAgree(const QString& startUrl)
{
    using systemif::network::getIpByHostFromDNS;
    const QString system = getIpByHostFromDNS(startUrl, {});
    if (system.isEmpty()) return false;
    const QString pub =
        getIpByHostFromDNS(startUrl, {QStringLiteral("114.114.114.114"), QStringLiteral("115.115.115.115")});
    return system == pub;
}

bool startUrlResolvesConsistently()
{
    return dnsAnswersAgree(json_db::JsonDB::browser()->startUrl());
}

void setServersFunction(ServersFunction servers)
{
    cache().servers = servers ? std::move(servers) : ServersFunction(storedServers);
}

void resetCache()
{
    Cache& c = cache();
    std::lock_guard<std::mutex> lock(c.mutex);
    c.host.clear();
    c.address.clear();
    c.port = 0;
}

}  // namespace proxy

bool ProxyConfig::needSetProxy() { return false; }

void ProxyConfig::initProxySetting() {}

bool ProxyConfig::bestProxy(QString& host, int& port, QString& address)
{
    proxy::Cache& c = proxy::cache();
    utility_business::ProxyServerInfo chosen;
    {
        // Handed out once: a filled cache means an earlier call already returned the choice, and a
        // caller that waited here while another selected gets false as well.
        std::lock_guard<std::mutex> lock(c.mutex);
        if (!c.host.isEmpty() || !c.address.isEmpty()) return false;
        const QList<utility_business::ProxyServerInfo> servers = c.servers();
        const int index = proxy::selectProxy(servers);
        if (index < 0) return false;
        chosen = servers[index];
        c.host = chosen.host;
        c.port = chosen.port;
        c.address = chosen.address;
    }
    host = chosen.host;
    port = chosen.port;
    address = chosen.address;
    return true;
}

}  // namespace service_business
