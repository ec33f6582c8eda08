// Closing the client's windows: closeApp gives up after 50 requests, closeRelationalExe never gives up
// while a shop window runs.
#include "bus_listener.h"

#include "notifications_p.h"
#include "service_business/notifications.h"
#include "service_business/profile_manager.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <thread>

using namespace service_business;

namespace {

class CloseApp : public test_support::BusHomeTest {
protected:
    void TearDown() override
    {
        utility::setSleepForTesting(nullptr);
        utility::setTimeLimitForTesting(-1);
        BusHomeTest::TearDown();
    }
    // Pauses take no time; `onPause` runs at each one.
    void countPauses(std::function<void()> onPause = nullptr)
    {
        utility::setSleepForTesting([this, onPause](int ms) {
            m_pauses.push_back(ms);
            if (onPause) onPause();
        });
    }
    // How many "closeApp" messages reached the topic before the marker.
    int closeAppMessagesBeforeMarker(MsgBusNameSpace::Subscriber& listener, const std::string& topic)
    {
        test_support::publishMarker(topic);
        int count = 0;
        for (;;) {
            const auto message = test_support::nextMessage(listener);
            if (!message) return -1;
            if (message->name != QStringLiteral("closeApp")) return count;
            EXPECT_EQ(message->topic, topic);
            ++count;
        }
    }

    std::vector<int> m_pauses;
};

TEST_F(CloseApp, UnknownProfileOrOneNotInUseIsClosedAtOnceWithoutAMessage)
{
    countPauses();
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    auto listener = listen({"1", "5"});
    EXPECT_TRUE(utility::closeApp(5));
    EXPECT_TRUE(utility::closeApp(1));
    EXPECT_TRUE(m_pauses.empty());
    expectNothingBefore(*listener, "5");
    expectNothingBefore(*listener, "1");
}

TEST_F(CloseApp, GivesUpAfter50RequestsWhenTheProfileStaysInUse)
{
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    const auto profile = ProfileManager::profile(1);
    // The window keeps reporting itself in use, as one that ignores the request would.
    countPauses([profile] { profile->setIsUsing(true); });
    profile->setIsUsing(true);
    auto listener = listen({"1"});

    EXPECT_FALSE(utility::closeApp(1));
    EXPECT_EQ(m_pauses, std::vector<int>(50, 200));
    EXPECT_EQ(closeAppMessagesBeforeMarker(*listener, "1"), 50);
}

// Each request waits up to 800 ms for a broker that is not there: 50 of them would take 40 s.
TEST_F(CloseApp, GivesUpAtItsTimeLimitWhenTheBusIsDown)
{
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    countPauses();
    ProfileManager::profile(1)->setIsUsing(true);
    m_broker.stop();
    utility::setTimeLimitForTesting(1000);

    EXPECT_FALSE(utility::closeApp(1));
    EXPECT_LE(m_pauses.size(), 2u) << "a request of 800 ms, and one of what was left";
}

TEST_F(CloseApp, StopsAsSoonAsTheProfileIsNoLongerInUse)
{
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    const auto profile = ProfileManager::profile(1);
    countPauses([this, profile] {
        if (m_pauses.size() == 3) profile->setIsUsing(false);  // the window closed after the third request
    });
    profile->setIsUsing(true);
    auto listener = listen({"1"});

    EXPECT_TRUE(utility::closeApp(1));
    EXPECT_EQ(closeAppMessagesBeforeMarker(*listener, "1"), 3);
}

// A stand-in shop window: a copy of sleep(1) under a name of its own, which the process check looks for.
class ShopWindowProcess {
public:
    bool start()
    {
        m_name = QStringLiteral("sbwin%1").arg(::getpid() % 100000);  // within the kernel's 15 characters
        const QString program = m_dir.path() + QLatin1Char('/') + m_name;
        if (!QFile::copy(QStringLiteral("/bin/sleep"), program)) return false;
        QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
        qputenv("SERVICE_BUSINESS_APP_PROCESSES", m_name.toLocal8Bit());
        m_process.start(program, {QStringLiteral("60")});
        return m_process.waitForStarted(5000);
    }
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    ~ShopWindowProcess()
    {
        kill();
        qunsetenv("SERVICE_BUSINESS_APP_PROCESSES");
    }

private:
    QTemporaryDir m_dir;
    QString m_name;
    QProcess m_process;
};

TEST_F(CloseApp, ClosingTheClientAsksUntilTheLastShopWindowHasGone)
{
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    ShopWindowProcess window;
    ASSERT_TRUE(window.start());
    auto listener = listen({"KM_LAUNCHER_NAME", "1"});

    testing::internal::CaptureStdout();
    std::thread closing(utility::closeRelationalExe);

    auto message = test_support::nextMessage(*listener);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->topic, "KM_LAUNCHER_NAME");
    EXPECT_EQ(message->name, QStringLiteral("closeLauncher"));
    // It keeps asking while the window runs: wait for three requests, then let the window go.
    for (int i = 0; i < 3; ++i) {
        message = test_support::nextMessage(*listener);
        if (!message) break;
        EXPECT_EQ(message->topic, "1");
        EXPECT_EQ(message->name, QStringLiteral("closeApp"));
    }
    window.kill();
    closing.join();
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(output.rfind("send launcher exit send app exit send app exit to : 1\n", 0), 0u) << output;
}

}  // namespace
