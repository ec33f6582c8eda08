// Who hears which notification, and what it carries, on a real broker on loopback; and closing the client's
// windows: closeApp gives up after 50 requests, closeRelationalExe never gives up while a shop window runs.
#include "bus.h"
#include "service_home.h"

#include "notifications_p.h"
#include "service_business/notifications.h"
#include "service_business/printer_manager.h"
#include "service_business/profile_manager.h"
#include "service_business/sender.h"

#include "systemif/print_fake.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <thread>

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

class CloseApp : public Notifications {
protected:
    void SetUp() override
    {
        Notifications::SetUp();
        ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
        m_profile = ProfileManager::profile(1);
    }
    void TearDown() override
    {
        utility::setSleepForTesting(nullptr);
        utility::setTimeLimitForTesting(-1);
        Notifications::TearDown();
    }
    // Pauses take no time; `onPause` runs at each one.
    void countPauses(std::function<void()> onPause = [] {})
    {
        utility::setSleepForTesting([this, onPause](int ms) {
            m_pauses.push_back(ms);
            onPause();
        });
    }
    // How many "closeApp" messages reached the topic before a marker published now.
    int closeAppMessagesBeforeMarker(MsgBusNameSpace::Subscriber& listener, const std::string& topic)
    {
        EXPECT_TRUE(publish(topic, R"({"arguments":[],"name":"marker","type":""})"));
        for (int count = 0;; ++count) {
            const auto message = test_support::nextMessage(listener);
            if (!message) return -1;
            if (message->name != QStringLiteral("closeApp")) return count;
            EXPECT_EQ(message->topic, topic);
        }
    }

    common::RefPtr<Profile> m_profile;
    std::vector<int> m_pauses;
};

TEST_F(CloseApp, UnknownProfileOrOneNotInUseIsClosedAtOnceWithoutAMessage)
{
    countPauses();
    auto listener = listen({"1", "5"});
    EXPECT_TRUE(utility::closeApp(5));
    EXPECT_TRUE(utility::closeApp(1));
    EXPECT_TRUE(m_pauses.empty());
    test_support::expectNothingBefore(*this, *listener, "5");
    test_support::expectNothingBefore(*this, *listener, "1");
}

TEST_F(CloseApp, GivesUpAfter50RequestsWhenTheProfileStaysInUse)
{
    // The window keeps reporting itself in use, as one that ignores the request would.
    countPauses([this] { m_profile->setIsUsing(true); });
    m_profile->setIsUsing(true);
    auto listener = listen({"1"});
    EXPECT_FALSE(utility::closeApp(1));
    EXPECT_EQ(m_pauses, std::vector<int>(50, 200));
    EXPECT_EQ(closeAppMessagesBeforeMarker(*listener, "1"), 50);
}

TEST_F(CloseApp, StopsAsSoonAsTheProfileIsNoLongerInUse)
{
    countPauses([this] {
        if (m_pauses.size() == 3) m_profile->setIsUsing(false);  // the window closed after the third request
    });
    m_profile->setIsUsing(true);
    auto listener = listen({"1"});
    EXPECT_TRUE(utility::closeApp(1));
    EXPECT_EQ(closeAppMessagesBeforeMarker(*listener, "1"), 3);
}

// Each request waits up to 800 ms for a broker that is not there: 50 of them would take 40 s.
TEST_F(CloseApp, GivesUpAtItsTimeLimitWhenTheBusIsDown)
{
    countPauses();
    m_profile->setIsUsing(true);
    stopBus();
    utility::setTimeLimitForTesting(1000);
    EXPECT_FALSE(utility::closeApp(1));
    EXPECT_LE(m_pauses.size(), 2u) << "a request of 800 ms, and one of what was left";
}

// A stand-in shop window (a copy of sleep under a name of its own, which the process check looks for) runs
// until the client has asked three times.
TEST_F(CloseApp, ClosingTheClientAsksUntilTheLastShopWindowHasGone)
{
    QTemporaryDir dir;
    const QString name = QStringLiteral("sbwin%1").arg(::getpid() % 100000);  // within the kernel's 15 characters
    ASSERT_TRUE(QFile::copy(QStringLiteral("/bin/sleep"), dir.filePath(name)));
    QFile::setPermissions(dir.filePath(name), QFile::ReadOwner | QFile::ExeOwner);
    qputenv("SERVICE_BUSINESS_APP_PROCESSES", name.toLocal8Bit());
    QProcess window;
    window.start(dir.filePath(name), {QStringLiteral("60")});
    ASSERT_TRUE(window.waitForStarted(5000));
    auto listener = listen({"KM_LAUNCHER_NAME", "1"});

    testing::internal::CaptureStdout();
    std::thread closing(utility::closeRelationalExe);
    auto message = test_support::nextMessage(*listener);
    EXPECT_TRUE(message && message->topic == "KM_LAUNCHER_NAME" && message->name == QStringLiteral("closeLauncher"));
    for (int i = 0; i < 3 && message; ++i) {
        message = test_support::nextMessage(*listener);
        EXPECT_TRUE(message && message->topic == "1" && message->name == QStringLiteral("closeApp"));
    }
    window.kill();
    window.waitForFinished(5000);
    closing.join();
    qunsetenv("SERVICE_BUSINESS_APP_PROCESSES");
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(output.rfind("send launcher exit send app exit send app exit to : 1\n", 0), 0u) << output;
}

}  // namespace
