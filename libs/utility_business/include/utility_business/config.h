#pragma once
// Process-wide configuration of the client's message bus.

namespace utility_business {

class Config {
public:
    static Config* get();
    // Port on which the bus broker receives what the processes publish (SERVICE_BUSINESS_BUS_PORT, else 25360).
    int serverSendPort() const;
    // Port on which the broker serves subscribers: the send port + 1 unless SERVICE_BUSINESS_BUS_SUB_PORT says.
    int serverRecvPort() const;
    // Host the processes meet at (SERVICE_BUSINESS_BUS_HOST, else 127.0.0.1).
    const char* serverHost() const;
};

}  // namespace utility_business
