// sb-bus-broker: the broker the client's processes meet at, on the configured bus host and ports
// (SERVICE_BUSINESS_BUS_HOST, SERVICE_BUSINESS_BUS_PORT, SERVICE_BUSINESS_BUS_SUB_PORT). Runs until SIGINT or
// SIGTERM.

#include "msgbus/broker.h"

#include "utility_business/config.h"

#include <cstring>
#include <iostream>

int main(int argc, char** argv)
{
    if (argc > 1) {
        const bool help = std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0;
        (help ? std::cout : std::cerr) << "usage: sb-bus-broker\n"
                                          "Runs the bus broker on SERVICE_BUSINESS_BUS_HOST (127.0.0.1), taking "
                                          "messages on SERVICE_BUSINESS_BUS_PORT (25360) and serving subscribers "
                                          "on SERVICE_BUSINESS_BUS_SUB_PORT (that port + 1).\n";
        return help ? 0 : 2;
    }
    const utility_business::Config* config = utility_business::Config::get();
    return MsgBusNameSpace::serveBroker(config->serverHost(), config->serverSendPort(), config->serverRecvPort());
}
