// Who hears which notification, and what it carries, on a real broker on loopback.
#include "bus_listener.h"

#include "service_business/notifications.h"

#include <QElapsedTimer>

using namespace service_business;
using namespace utility_business::utility_enum;

namespace {

using Notifications = test_support::BusHomeTest;

// The next message on the listener must be `name` of type "notification" to `topic` with these arguments.
void expectMessage(MsgBusNameSpace::Subscriber& listener, const std::string& topic, const char* name,
                   const QVariantList& arguments)
{
    const auto message = test_support::nextMessage(listener);
    ASSERT_TRUE(message) << name << " to " << topic << " never arrived";
    EXPECT_EQ(message->topic, topic);
    EXPECT_EQ(message->name, QLatin1String(name));
    EXPECT_EQ(message->type, QStringLiteral("notification"));
    EXPECT_EQ(message->arguments, arguments) << name << " to " << topic;
}

TEST_F(Notifications, StateChangesReachEveryProfileByIdAndAnEnabledStateChangeOnlyItsOwnWith4)
{
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    ASSERT_EQ(addProfile(QStringLiteral("Congee House")), 2);
    auto listener = listen({"KM_LAUNCHER_NAME", "1", "2"});

    utility::notifyAppNetworkStatus(NET_SERVER_UNREACHABLE, 504);
    expectMessage(*listener, "1", "networkHasChanged", {2, 504});
    expectMessage(*listener, "2", "networkHasChanged", {2, 504});

    utility::notifyAppPrinterModification(PRINTER_ADDED_AND_REMOVED);
    expectMessage(*listener, "1", "printerHasChanged", {3});
    expectMessage(*listener, "2", "printerHasChanged", {3});
    expectNothingBefore(*listener, "KM_LAUNCHER_NAME");

    utility::notifyAppPrinterEnabledStateChanged(2);
    expectMessage(*listener, "2", "printerHasChanged", {4});
    expectNothingBefore(*listener, "1");
}

TEST_F(Notifications, WithoutProfilesOnlyTheLauncherHearsBrowserMessages)
{
    auto listener = listen({"KM_LAUNCHER_NAME", "1", "0", "-1"});

    utility::notifyAppNetworkStatus(NET_DISCONNECTED, 0);
    utility::notifyAppPrinterModification(PRINTER_REMOVED);
    utility::pushMsgToAllBrowser(QStringLiteral("hello"));
    expectMessage(*listener, "KM_LAUNCHER_NAME", "pushMsgToBrowser", {QStringLiteral("hello")});
    expectNothingBefore(*listener, "1");
}

TEST_F(Notifications, BrowserMessagesGoToTheLauncherFirstThenEveryProfile)
{
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    ASSERT_EQ(addProfile(QStringLiteral("Congee House")), 2);
    auto listener = listen({"KM_LAUNCHER_NAME", "1", "2"});

    utility::pushPrintersHasChangedMsg();
    const QVariantList printers{QStringLiteral(R"({"name":"pc.print.printersHasChanged"})")};
    for (const char* topic : {"KM_LAUNCHER_NAME", "1", "2"})
        expectMessage(*listener, topic, "pushMsgToBrowser", printers);

    utility::pushProfilesHasChangedMsg();
    const QVariantList profiles{QStringLiteral(R"({"name":"pc.profile.profilesHasChanged"})")};
    for (const char* topic : {"KM_LAUNCHER_NAME", "1", "2"})
        expectMessage(*listener, topic, "pushMsgToBrowser", profiles);
    expectNothingBefore(*listener, "KM_LAUNCHER_NAME");
}

TEST_F(Notifications, PrintResultGoesToTheGivenTopic)
{
    auto listener = listen({"7", "KM_LAUNCHER_NAME"});
    utility::printOrderCallBack(7, QStringLiteral("厨房: 订单 1042"), true);
    utility::printOrderCallBack(7, QStringLiteral("Bar"), false);
    expectMessage(*listener, "7", "systemPrintCompleted", {QStringLiteral("厨房: 订单 1042"), true});
    expectMessage(*listener, "7", "systemPrintCompleted", {QStringLiteral("Bar"), false});
    expectNothingBefore(*listener, "KM_LAUNCHER_NAME");
}

TEST_F(Notifications, PublishingFailsWithoutABrokerAndAllOfANotificationEndsWithinItsTimeLimit)
{
    m_broker.stop();
    EXPECT_FALSE(Sender().sendData(1, "lost"));
    EXPECT_FALSE(Sender::publishData(1, utility_business::ipc_define::PublishMsg(QStringLiteral("lost"),
                                                                                 QStringLiteral("notification"))));
    // Four targets of 800 ms each would take 3.2 s; the limit is 2 s.
    for (const char* name : {"Noodle Bar", "Tea House", "Dumplings"}) ASSERT_GT(addProfile(QLatin1String(name)), 0);
    QElapsedTimer clock;
    clock.start();
    utility::pushProfilesHasChangedMsg();
    EXPECT_LT(clock.elapsed(), 2500);
}

}  // namespace
