#include "msgbus/broker.h"

#include <csignal>
#include <iostream>

#include <pthread.h>

namespace MsgBusNameSpace {

int serveBroker(const std::string& host, int sendPort, int recvPort)
{
    // Blocked before the broker's threads exist, so that they inherit the mask and sigwait gets the signal.
    sigset_t signals;
    sigset_t previous;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &previous);

    int status = 0;
    {
        Broker broker;
        if (broker.start(host, sendPort, recvPort)) {
            std::cout << "bus broker: taking messages on tcp://" << host << ':' << broker.sendPort()
                      << ", serving subscribers on tcp://" << host << ':' << broker.recvPort() << std::endl;
            int received = 0;
            sigwait(&signals, &received);
            if (broker.droppedMessages() > 0)
                std::cout << "bus broker: " << broker.droppedMessages()
                          << " messages dropped for listeners that stopped reading" << std::endl;
        } else {
            std::cerr << "bus broker: " << broker.errorString() << std::endl;
            status = 1;
        }
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return status;
}

}  // namespace MsgBusNameSpace
