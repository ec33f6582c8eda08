#include "utility_business/config.h"

#include <cstdlib>

namespace utility_business {

namespace {
int portFromEnv(const char* name, int fallback)
{
    const char* text = std::getenv(name);
    if (!text || !*text) return fallback;
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    return (*end == '\0' && value > 0 && value < 65536) ? static_cast<int>(value) : fallback;
}
}  // namespace

Config* Config::get()
{
    static Config config;
    return &config;
}

int Config::serverSendPort() const { return portFromEnv("SERVICE_BUSINESS_BUS_PORT", 25360); }
int Config::serverRecvPort() const { return portFromEnv("SERVICE_BUSINESS_BUS_SUB_PORT", serverSendPort() + 1); }

const char* Config::serverHost() const
{
    const char* host = std::getenv("SERVICE_BUSINESS_BUS_HOST");
    return (host && *host) ? host : "127.0.0.1";
}

}  // namespace utility_business
