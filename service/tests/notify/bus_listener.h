#pragma once
// A broker on loopback for the notifications, and a listener that reads what reached each topic.

#include "service_home.h"

#include "msgbus/broker.h"
#include "msgbus/subscriber.h"
#include "utility_business/ipc_define.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

// One message as a window receives it.
struct BusMessage {
    std::string topic;
    QString name;
    QString type;
    QVariantList arguments;
};

// The next message the listener got, decoded; nullopt when none came within five seconds or its body is
// not a bus message.
std::optional<BusMessage> nextMessage(MsgBusNameSpace::Subscriber& listener);
// Publishes a message named "marker" to the topic; it follows everything this thread published before.
void publishMarker(const std::string& topic);

// A fresh home as ServiceHomeTest gives it, and a broker on free loopback ports that the service's
// Senders publish to.
class BusHomeTest : public ServiceHomeTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // A listener on the topics, each subscription confirmed by the broker.
    std::unique_ptr<MsgBusNameSpace::Subscriber> listen(const std::vector<std::string>& topics);
    // Publishes a marker to `topic` and expects it to be the next message the listener gets: nothing
    // published before it to the listener's topics is still on its way.
    void expectNothingBefore(MsgBusNameSpace::Subscriber& listener, const std::string& topic);

    MsgBusNameSpace::Broker m_broker;
};

}  // namespace test_support
