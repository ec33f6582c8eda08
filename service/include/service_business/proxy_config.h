#pragma once
// Whether the client's HTTP requests go through a proxy, and which listed proxy server is best.

#include "service_business/export.h"

#include <QString>

namespace service_business {

class SERVICE_BUSINESS_EXPORT ProxyConfig {
public:
    // Proxies are switched off in this version: always false, so no request uses one.
    static bool needSetProxy();
    static void initProxySetting();
    // Chooses the best server of the basis settings' "proxy_servers", once per process: the first
    // successful call fills host, port and address and returns true; every later call returns false and
    // leaves the arguments alone. A failed selection leaves them alone too, and the next call tries again.
    static bool bestProxy(QString& host, int& port, QString& address);
};

}  // namespace service_business
