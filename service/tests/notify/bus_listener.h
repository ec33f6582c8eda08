#pragma once
// A broker on loopback for the notifications, and a listener that reads what reached each topic.

#include "service_home.h"

#include "service_business/sender.h"

#include "msgbus/broker.h"
#include "msgbus/msgbus.h"
#include "msgbus/subscriber.h"
#include "utility_business/ipc_define.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

inline const char* const kBusHost = "127.0.0.1";

// One message as a window receives it.
struct BusMessage {
    std::string topic;
    QString name;
    QString type;
    QVariantList arguments;
};

// The next message the listener got, decoded; nullopt when none came within five seconds or its body is
// not a bus message.
inline std::optional<BusMessage> nextMessage(MsgBusNameSpace::Subscriber& listener)
{
    const auto frames = listener.receive(std::chrono::seconds(5));
    if (!frames || frames->size() != 2) return std::nullopt;
    const auto msg = utility_business::ipc_define::PublishMsg::fromString(QString::fromStdString(frames->at(1)));
    if (!msg) return std::nullopt;
    return BusMessage{frames->at(0), msg->name(), msg->type(), msg->arguments()};
}

// Publishes a message named "marker" to the topic; it follows everything this thread published before.
inline void publishMarker(const std::string& topic)
{
    const utility_business::ipc_define::PublishMsg marker{QStringLiteral("marker"), QString()};
    ASSERT_TRUE(service_business::Sender().sendData(topic, marker.toString().toStdString()));
}

// A fresh home as ServiceHomeTest gives it, and a broker on free loopback ports that the service's
// Senders publish to.
class BusHomeTest : public ServiceHomeTest {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        ASSERT_TRUE(m_broker.start(kBusHost, 0, 0)) << m_broker.errorString();
        qputenv("SERVICE_BUSINESS_BUS_HOST", kBusHost);
        qputenv("SERVICE_BUSINESS_BUS_PORT", QByteArray::number(m_broker.sendPort()));
    }
    void TearDown() override
    {
        m_broker.stop();
        qunsetenv("SERVICE_BUSINESS_BUS_HOST");
        qunsetenv("SERVICE_BUSINESS_BUS_PORT");
        ServiceHomeTest::TearDown();
    }

    // A listener on the topics, each subscription confirmed by the broker.
    std::unique_ptr<MsgBusNameSpace::Subscriber> listen(const std::vector<std::string>& topics)
    {
        auto listener = std::make_unique<MsgBusNameSpace::Subscriber>(MsgBusNameSpace::MsgBus::GetContext(),
                                                                      kBusHost, m_broker.recvPort());
        for (const std::string& topic : topics)
            EXPECT_TRUE(listener->subscribe(topic, std::chrono::seconds(5)))
                << "subscription to " << topic << " not confirmed";
        return listener;
    }
    // Publishes a marker to `topic` and expects it to be the next message the listener gets: nothing
    // published before it to the listener's topics is still on its way.
    void expectNothingBefore(MsgBusNameSpace::Subscriber& listener, const std::string& topic)
    {
        publishMarker(topic);
        const auto message = nextMessage(listener);
        ASSERT_TRUE(message) << "the marker never arrived";
        EXPECT_EQ(message->name, QStringLiteral("marker"))
            << "unexpected message " << message->name.toStdString() << " on topic " << message->topic;
    }

    MsgBusNameSpace::Broker m_broker;
};

}  // namespace test_support
