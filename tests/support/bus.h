#pragma once
// A broker on free loopback ports, and listeners that read what reached each topic. While it runs,
// SERVICE_BUSINESS_BUS_HOST and SERVICE_BUSINESS_BUS_PORT lead the service's Senders to it.

#include "msgbus/broker.h"
#include "msgbus/msgbus.h"
#include "msgbus/subscriber.h"
#include "utility_business/ipc_define.h"

#include <gtest/gtest.h>

#include <QByteArray>
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
    bool startBus(int sendPort = 0, int recvPort = 0)
    {
        if (!m_broker.start(kBusHost, sendPort, recvPort)) return false;
        qputenv("SERVICE_BUSINESS_BUS_HOST", kBusHost);
        qputenv("SERVICE_BUSINESS_BUS_PORT", QByteArray::number(m_broker.sendPort()));
        return true;
    }
    // Stops the broker; the service's Senders then find nobody.
    void stopBus() { m_broker.stop(); }
    // Publishes one message as the service does: a fresh Sender on the shared context, one hand-over.
    static bool publishTo(int port, const MsgBusNameSpace::Frames& frames, int timeoutMs = -1)
    {
        MsgBusNameSpace::Sender sender(MsgBusNameSpace::MsgBus::GetContext(), MsgBusNameSpace::Sender::kHandOver, port, L"");
        return sender.SendMsg(frames, timeoutMs, nullptr);
    }
    bool publish(const std::string& topic, const std::string& body, int timeoutMs = -1)
    {
        return publishTo(m_broker.sendPort(), {topic, body}, timeoutMs);
    }
    // A listener on the topics, each subscription confirmed by the broker.
    std::unique_ptr<MsgBusNameSpace::Subscriber> listen(const std::vector<std::string>& topics)
    {
        auto listener = std::make_unique<MsgBusNameSpace::Subscriber>(MsgBusNameSpace::MsgBus::GetContext(), kBusHost,
                                                                      m_broker.recvPort());
        for (const std::string& topic : topics)
            EXPECT_TRUE(listener->subscribe(topic, std::chrono::seconds(5))) << "subscription to " << topic << " not confirmed";
        return listener;
    }
    // A loopback port that nothing listens on now (bound once by a broker, then released).
    static int unusedPort()
    {
        MsgBusNameSpace::Broker probe;
        return probe.start(kBusHost, 0, 0) ? probe.sendPort() : 0;
    }

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
inline std::optional<BusMessage> nextMessage(MsgBusNameSpace::Subscriber& listener)
{
    const auto frames = listener.receive(std::chrono::seconds(5));
    if (!frames || frames->size() != 2) return std::nullopt;
    const auto msg = utility_business::ipc_define::PublishMsg::fromString(QString::fromStdString(frames->at(1)));
    if (!msg) return std::nullopt;
    return BusMessage{frames->at(0), msg->name(), msg->type(), msg->arguments()};
}

// Publishes a "marker" message to the topic and expects it to be the listener's next one: nothing that was
// published before it to the listener's topics is still on its way.
inline void expectNothingBefore(LoopbackBus& bus, MsgBusNameSpace::Subscriber& listener, const std::string& topic)
{
    const utility_business::ipc_define::PublishMsg marker{QStringLiteral("marker"), QString()};
    ASSERT_TRUE(bus.publish(topic, marker.toString().toStdString()));
    const auto message = nextMessage(listener);
    ASSERT_TRUE(message) << "the marker never arrived";
    EXPECT_EQ(message->name, QStringLiteral("marker")) << "unexpected " << message->name.toStdString() << " on " << message->topic;
}

class BusTest : public ::testing::Test, public LoopbackBus {
protected:
    void SetUp() override { ASSERT_TRUE(startBus()) << m_broker.errorString(); }
    void TearDown() override { stopBus(); }
};

}  // namespace test_support
