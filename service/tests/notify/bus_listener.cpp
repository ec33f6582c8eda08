#include "bus_listener.h"

#include "service_business/sender.h"

#include "msgbus/msgbus.h"

namespace test_support {

using namespace std::chrono_literals;

namespace {
const char* const kHost = "127.0.0.1";
const char* const kMarker = "marker";
}  // namespace

std::optional<BusMessage> nextMessage(MsgBusNameSpace::Subscriber& listener)
{
    const auto frames = listener.receive(5s);
    if (!frames || frames->size() != 2) return std::nullopt;
    const auto msg = utility_business::ipc_define::PublishMsg::fromString(QString::fromStdString(frames->at(1)));
    if (!msg) return std::nullopt;
    return BusMessage{frames->at(0), msg->name(), msg->type(), msg->arguments()};
}

void publishMarker(const std::string& topic)
{
    const utility_business::ipc_define::PublishMsg marker{QLatin1String(kMarker), QString()};
    ASSERT_TRUE(service_business::Sender().sendData(topic, marker.toString().toStdString()));
}

void BusHomeTest::SetUp()
{
    ServiceHomeTest::SetUp();
    ASSERT_TRUE(m_broker.start(kHost, 0, 0)) << m_broker.errorString();
    qputenv("SERVICE_BUSINESS_BUS_HOST", kHost);
    qputenv("SERVICE_BUSINESS_BUS_PORT", QByteArray::number(m_broker.sendPort()));
}

void BusHomeTest::TearDown()
{
    m_broker.stop();
    qunsetenv("SERVICE_BUSINESS_BUS_HOST");
    qunsetenv("SERVICE_BUSINESS_BUS_PORT");
    ServiceHomeTest::TearDown();
}

std::unique_ptr<MsgBusNameSpace::Subscriber> BusHomeTest::listen(const std::vector<std::string>& topics)
{
    auto listener = std::make_unique<MsgBusNameSpace::Subscriber>(MsgBusNameSpace::MsgBus::GetContext(), kHost,
                                                                  m_broker.recvPort());
    for (const std::string& topic : topics)
        EXPECT_TRUE(listener->subscribe(topic, 5s)) << "subscription to " << topic << " not confirmed";
    return listener;
}

void BusHomeTest::expectNothingBefore(MsgBusNameSpace::Subscriber& listener, const std::string& topic)
{
    publishMarker(topic);
    const auto message = nextMessage(listener);
    ASSERT_TRUE(message) << "the marker never arrived";
    EXPECT_EQ(message->name, QLatin1String(kMarker)) << "unexpected message " << message->name.toStdString()
                                                     << " on topic " << message->topic;
}

}  // namespace test_support
