// Who hears which notification, and what it carries, on a real broker on loopback.
#include "bus.h"
#include "service_home.h"

#include "service_business/notifications.h"
#include "service_business/printer_manager.h"
#include "service_business/sender.h"

#include "systemif/print_fake.h"

#include <QElapsedTimer>
#include <QThread>

using namespace service_business;
using namespace utility_business::utility_enum;

namespace {

class Notifications : public test_support::ServiceHomeTest, public test_support::LoopbackBus {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        ASSERT_TRUE(startBus()) << m_broker.errorString();
    }
    void TearDown() override
    {
        stopBus();
        ServiceHomeTest::TearDown();
    }
    // The next message must be `name`, a notification, to `topic` with these arguments.
    static void expectMessage(MsgBusNameSpace::Subscriber& listener, const std::string& topic, const char* name,
                              const QVariantList& arguments)
    {
        const auto message = test_support::nextMessage(listener);
        ASSERT_TRUE(message) << name << " to " << topic << " never arrived";
        EXPECT_EQ(message->topic, topic);
        EXPECT_EQ(message->name, QLatin1String(name));
        EXPECT_EQ(message->type, QStringLiteral("notification"));
        EXPECT_EQ(message->arguments, arguments) << name << " to " << topic;
    }
};

TEST_F(Notifications, StateChangesReachEveryProfileAndAnEnabledStateChangeOnlyItsOwnWith4)
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
    expectNothingBefore(*this, *listener, "KM_LAUNCHER_NAME");

    utility::notifyAppPrinterEnabledStateChanged(2);
    expectMessage(*listener, "2", "printerHasChanged", {4});
    expectNothingBefore(*this, *listener, "1");
}

TEST_F(Notifications, BrowserMessagesGoToTheLauncherFirstThenEveryProfile)
{
    auto launcherOnly = listen({"KM_LAUNCHER_NAME", "1", "0", "-1"});
    utility::notifyAppNetworkStatus(NET_DISCONNECTED, 0);
    utility::notifyAppPrinterModification(PRINTER_REMOVED);
    utility::pushMsgToAllBrowser(QStringLiteral("hello"));
    expectMessage(*launcherOnly, "KM_LAUNCHER_NAME", "pushMsgToBrowser", {QStringLiteral("hello")});
    expectNothingBefore(*this, *launcherOnly, "1");

    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    ASSERT_EQ(addProfile(QStringLiteral("Congee House")), 2);
    auto listener = listen({"KM_LAUNCHER_NAME", "1", "2"});
    utility::pushPrintersHasChangedMsg();
    utility::pushProfilesHasChangedMsg();
    for (const char* name : {"pc.print.printersHasChanged", "pc.profile.profilesHasChanged"}) {
        for (const char* topic : {"KM_LAUNCHER_NAME", "1", "2"})
            expectMessage(*listener, topic, "pushMsgToBrowser", {QStringLiteral(R"({"name":"%1"})").arg(QLatin1String(name))});
    }
    expectNothingBefore(*this, *listener, "KM_LAUNCHER_NAME");
}

TEST_F(Notifications, PrintResultGoesToTheGivenTopic)
{
    auto listener = listen({"7", "KM_LAUNCHER_NAME"});
    utility::printOrderCallBack(7, QStringLiteral("厨房: 订单 1042"), true);
    utility::printOrderCallBack(7, QStringLiteral("Bar"), false);
    expectMessage(*listener, "7", "systemPrintCompleted", {QStringLiteral("厨房: 订单 1042"), true});
    expectMessage(*listener, "7", "systemPrintCompleted", {QStringLiteral("Bar"), false});
    expectNothingBefore(*this, *listener, "KM_LAUNCHER_NAME");
}

TEST_F(Notifications, PublishingFailsWithoutABrokerAndANotificationEndsWithinItsTimeLimit)
{
    stopBus();
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

// The registry's watch publishes each change of a printer's status to every shop window within one interval,
// once: the first reading, then a change, and nothing while it stays as it is.
TEST_F(Notifications, PrinterStatusChangeReachesEveryProfileOnceWithinAnInterval)
{
    const auto answered = [](unsigned char printer, unsigned char cause, unsigned char paper) {
        systemif::print::PrinterAnswer answer;
        answer.reach = systemif::print::PrinterAnswer::Reach::Answered;
        answer.answers[0] = printer;
        answer.answers[1] = cause;
        answer.answers[2] = paper;
        answer.count = 3;
        return answer;
    };
    systemif::print::FakePrintSystem fake;
    fake.spooler.addQueue("Kitchen", "POS-80", "socket://kitchen.test:9100");
    fake.statusLink.setAnswer("kitchen.test", answered(0x12, 0x12, 0x12));
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    utility_business::PrinterInfo kitchen;
    kitchen.id = 0;
    kitchen.name = QStringLiteral("Kitchen");
    kitchen.type = PRINTER_SYSTEM_NETWORK;
    kitchen.connected = true;
    PrinterManager::updatePrinters({kitchen});
    auto listener = listen({"1"});

    PrinterManager::watchPrinterStatus(100);
    expectMessage(*listener, "1", "printerStatusChanged", {0, QStringLiteral("ready"), QStringLiteral("the printer says it is ready")});
    fake.statusLink.setAnswer("kitchen.test", answered(0x1a, 0x32, 0x72));
    QElapsedTimer sinceChange;
    sinceChange.start();
    expectMessage(*listener, "1", "printerStatusChanged",
                  {0, QStringLiteral("paper-out"), QStringLiteral("the printer says it is out of paper")});
    EXPECT_LT(sinceChange.elapsed(), 1000) << "within an interval (and the time to read it)";
    QThread::msleep(300);  // three more readings, all the same
    PrinterManager::watchPrinterStatus(0);
    EXPECT_EQ(PrinterManager::printerStatus(0).state, PrinterStatus::State::PaperOut);
    expectNothingBefore(*this, *listener, "1");
}

}  // namespace
