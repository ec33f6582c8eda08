#pragma once
// Private to service_business: not part of its interface.

#include "utility_business/utility_structs.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

namespace service_business {
namespace proxy {

using ServersFunction = std::function<QList<utility_business::ProxyServerInfo>()>;

// The index of the best server of the list by the ping rules; -1 for an empty list.
// Pings each server through systemif's network backend.
int selectProxy(const QList<utility_business::ProxyServerInfo>& servers);

// Whether the start URL resolves alike through the system's resolvers and through two public ones.
// Kept for a later version; nothing calls it.
bool dnsAnswersAgree(const QString& startUrl);

// dnsAnswersAgree on the stored start URL.
bool startUrlResolvesConsistently();

// Test seams: replace the server list, and forget a selection.
void setServersFunction(ServersFunction servers);
void resetCache();

}  // namespace proxy
}  // namespace service_business
