// The bus publisher: two frames, topic and body, handed to a real broker on loopback.
#include "bus_listener.h"

#include "service_business/sender.h"

using namespace service_business;
using namespace std::chrono_literals;
using utility_business::ipc_define::PublishMsg;

namespace {

using SenderTest = test_support::BusHomeTest;

TEST_F(SenderTest, SendsTopicAndBodyAsTwoFrames)
{
    auto listener = listen({"KM_LAUNCHER_NAME", "12"});
    Sender sender;
    EXPECT_TRUE(sender.sendData(std::string("KM_LAUNCHER_NAME"), "first"));
    EXPECT_TRUE(sender.sendData(12, "second"));  // numeric topics are written in decimal

    EXPECT_EQ(listener->receive(5s), (MsgBusNameSpace::Frames{"KM_LAUNCHER_NAME", "first"}));
    EXPECT_EQ(listener->receive(5s), (MsgBusNameSpace::Frames{"12", "second"}));
}

TEST_F(SenderTest, PublishesTheMessageTextAsUtf8)
{
    auto listener = listen({"3", "打印"});
    PublishMsg msg(QStringLiteral("systemPrintCompleted"), QStringLiteral("notification"));
    msg.addArgument(QStringLiteral("厨房打印机"));
    EXPECT_TRUE(Sender::publishData(3, msg));
    EXPECT_TRUE(Sender::publishData(QStringLiteral("打印"), msg));

    for (const char* topic : {"3", "打印"}) {
        const auto received = test_support::nextMessage(*listener);
        ASSERT_TRUE(received);
        EXPECT_EQ(received->topic, topic);
        EXPECT_EQ(received->arguments, QVariantList{QStringLiteral("厨房打印机")});
    }
}

TEST_F(SenderTest, FailsWithoutABroker)
{
    m_broker.stop();
    EXPECT_FALSE(Sender().sendData(1, "lost"));
    EXPECT_FALSE(Sender::publishData(1, PublishMsg(QStringLiteral("lost"), QStringLiteral("notification"))));
}

}  // namespace
