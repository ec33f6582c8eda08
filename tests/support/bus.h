#pragma once
// A broker on free loopback ports, and listeners that read what reached each topic. While it runs,
// SERVICE_BUSINESS_BUS_HOST and SERVICE_BUSINESS_BUS_PORT lead the service's Senders to it.

#include "msgbus/broker.h"
#include "msgbus/msgbus.h"
#include "msgbus/subscriber.h"

#include <gtest/gtest.h>

#include <QString>
#include <QVariantList>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

inline constexpr const char* kBusHost = "127.0.0.1";

class LoopbackBus {
public:
    // Starts the broker on free ports (or the ones given) and points the service at it.
    bool startBus(int sendPort = 0, int recvPort = 0);
    // Stops the broker; the service's Senders then find nobody.
    void stopBus();
    // Publishes one message as the service does: a fresh Sender on the shared context, one hand-over.
    bool publish(const std::string& topic, const std::string& body, int timeoutMs = -1);
    static bool publishTo(int port, const MsgBusNameSpace::Frames& frames, int timeoutMs = -1);
    // A listener on the topics, each subscription confirmed by the broker.
    std::unique_ptr<MsgBusNameSpace::Subscriber> listen(const std::vector<std::string>& topics);
    // A loopback port that nothing listens on now (bound once by a broker, then released).
    static int unusedPort();

    MsgBusNameSpace::Broker m_broker;
};

// One bus message (utility_business::ipc_define::PublishMsg) as a window receives it.
struct BusMessage {
    std::string topic;
    QString name;
    QString type;
    QVariantList arguments;
};

// The next message, decoded; nullopt when none came within five seconds or it is no bus message.
std::optional<BusMessage> nextMessage(MsgBusNameSpace::Subscriber& listener);

// Publishes a "marker" message to the topic and expects it to be the listener's next one: nothing that was
// published before it to the listener's topics is still on its way.
void expectNothingBefore(LoopbackBus& bus, MsgBusNameSpace::Subscriber& listener, const std::string& topic);

class BusTest : public ::testing::Test, public LoopbackBus {
protected:
    void SetUp() override { ASSERT_TRUE(startBus()) << m_broker.errorString(); }
    void TearDown() override { stopBus(); }
};

}  // namespace test_support
