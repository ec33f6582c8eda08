#include "bus.h"

#include "utility_business/ipc_define.h"

#include <QByteArray>

namespace test_support {

using namespace std::chrono_literals;

bool LoopbackBus::startBus(int sendPort, int recvPort)
{
    if (!m_broker.start(kBusHost, sendPort, recvPort)) return false;
    qputenv("SERVICE_BUSINESS_BUS_HOST", kBusHost);
    qputenv("SERVICE_BUSINESS_BUS_PORT", QByteArray::number(m_broker.sendPort()));
    return true;
}

void LoopbackBus::stopBus() { m_broker.stop(); }

bool LoopbackBus::publishTo(int port, const MsgBusNameSpace::Frames& frames, int timeoutMs)
{
    MsgBusNameSpace::Sender sender(MsgBusNameSpace::MsgBus::GetContext(), MsgBusNameSpace::Sender::kHandOver, port, L"");
    return sender.SendMsg(frames, timeoutMs, nullptr);
}

bool LoopbackBus::publish(const std::string& topic, const std::string& body, int timeoutMs)
{
    return publishTo(m_broker.sendPort(), {topic, body}, timeoutMs);
}

std::unique_ptr<MsgBusNameSpace::Subscriber> LoopbackBus::listen(const std::vector<std::string>& topics)
{
    auto listener = std::make_unique<MsgBusNameSpace::Subscriber>(MsgBusNameSpace::MsgBus::GetContext(), kBusHost,
                                                                  m_broker.recvPort());
    for (const std::string& topic : topics)
        EXPECT_TRUE(listener->subscribe(topic, 5s)) << "subscription to " << topic << " not confirmed";
    return listener;
}

int LoopbackBus::unusedPort()
{
    MsgBusNameSpace::Broker probe;
    return probe.start(kBusHost, 0, 0) ? probe.sendPort() : 0;
}

std::optional<BusMessage> nextMessage(MsgBusNameSpace::Subscriber& listener)
{
    const auto frames = listener.receive(5s);
    if (!frames || frames->size() != 2) return std::nullopt;
    const auto msg = utility_business::ipc_define::PublishMsg::fromString(QString::fromStdString(frames->at(1)));
    if (!msg) return std::nullopt;
    return BusMessage{frames->at(0), msg->name(), msg->type(), msg->arguments()};
}

void expectNothingBefore(LoopbackBus& bus, MsgBusNameSpace::Subscriber& listener, const std::string& topic)
{
    const utility_business::ipc_define::PublishMsg marker{QStringLiteral("marker"), QString()};
    ASSERT_TRUE(bus.publish(topic, marker.toString().toStdString()));
    const auto message = nextMessage(listener);
    ASSERT_TRUE(message) << "the marker never arrived";
    EXPECT_EQ(message->name, QStringLiteral("marker")) << "unexpected " << message->name.toStdString() << " on " << message->topic;
}

}  // namespace test_support
