// Closing the client's windows: closeApp gives up after 50 requests, closeRelationalExe never gives up
// while a shop window runs.
#include "bus.h"
#include "service_home.h"

#include "notifications_p.h"
#include "service_business/notifications.h"
#include "service_business/profile_manager.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <thread>

using namespace service_business;

namespace {

class CloseApp : public test_support::ServiceHomeTest, public test_support::LoopbackBus {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        ASSERT_TRUE(startBus()) << m_broker.errorString();
        ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
        m_profile = ProfileManager::profile(1);
    }
    void TearDown() override
    {
        utility::setSleepForTesting(nullptr);
        utility::setTimeLimitForTesting(-1);
        stopBus();
        ServiceHomeTest::TearDown();
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
