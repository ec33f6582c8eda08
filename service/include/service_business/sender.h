#pragma once
// One publisher on the client's message bus. A message is two frames, the target topic (a profile's id in
// decimal, or "KM_LAUNCHER_NAME") and the body. Each publishData makes a Sender for its one message, so
// publishing needs no lock and may happen on any thread.

#include "service_business/export.h"

#include "utility_business/ipc_define.h"

#include <QString>

#include <memory>
#include <string>

namespace MsgBusNameSpace {
class Sender;
}

namespace service_business {

class SERVICE_BUSINESS_EXPORT Sender {
public:
    // A publisher to the bus's configured port (utility_business::Config::serverSendPort).
    Sender();
    ~Sender();
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    // True when the bus took the message within timeoutMs (negative: the bus's own wait, 800 ms); false,
    // without retrying or queueing, when it did not.
    bool sendData(const std::string& topic, const std::string& body, int timeoutMs = -1);
    bool sendData(int topic, const std::string& body, int timeoutMs = -1);

    // Publishes the message's text to the topic through a Sender of its own.
    static bool publishData(const QString& topic, const utility_business::ipc_define::PublishMsg& msg,
                            int timeoutMs = -1);
    static bool publishData(int topic, const utility_business::ipc_define::PublishMsg& msg, int timeoutMs = -1);

private:
    std::unique_ptr<MsgBusNameSpace::Sender> m_sender;
};

}  // namespace service_business
