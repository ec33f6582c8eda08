#pragma once
// Private to service_business: not part of its interface.

#include "utility_business/utility_structs.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace service_business {
namespace proxy {

struct PingStats {
    unsigned sent = 0;
    unsigned lost = 0;
    unsigned roundTripTime = 0;  // smaller is better
};

using PingFunction = std::function<PingStats(const QString& address, int count, int timeoutMs)>;
using ServersFunction = std::function<QList<utility_business::ProxyServerInfo>()>;
using ResolveFunction = std::function<QString(const QString& host, const QStringList& dnsServers)>;

// The index of the best server of the list by the ping rules; -1 for an empty list.
int selectProxy(const QList<utility_business::ProxyServerInfo>& servers, const PingFunction& ping);

// Whether the start URL resolves alike through the system's resolvers and through two public ones.
// Kept for a later version; nothing calls it.
bool dnsAnswersAgree(const QString& startUrl, const ResolveFunction& resolve);

// dnsAnswersAgree on the stored start URL with the real resolvers.
bool startUrlResolvesConsistently();

// Test seams: replace the ping and the server list, and forget a selection.
void setPingFunction(PingFunction ping);
void setServersFunction(ServersFunction servers);
void resetCache();

}  // namespace proxy
}  // namespace service_business
