// One profile: its name and settings come from the store, its browser cache lives under the cache home,
// its in-use mark lapses after 5000 ms, and a new window is centred on the screen.
#include "service_home.h"
#include "xvfb_harness.h"

#include "db/json_db_p.h"
#include "profile/profile_p.h"
#include "service_business/profile.h"
#include "service_business/profile_manager.h"
#include "sys_info_p.h"

#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace service_business;
using namespace utility_business;

namespace {

class ProfileTest : public test_support::ServiceHomeTest {
protected:
    void TearDown() override
    {
        profile_internal::setTimeOfDayForTesting(nullptr);
        ServiceHomeTest::TearDown();
    }
    // Runs the profile's clock from `now`, which the test moves.
    void useClock() { profile_internal::setTimeOfDayForTesting([this] { return m_now; }); }

    int m_now = 12 * 3600 * 1000;
};

TEST_F(ProfileTest, BrowserCacheIsMadeUnderTheCacheHomeAndCleanedWithItsContents)
{
    const Profile profile(3, QString());
    const QString path = profile.cefCachePath();
    EXPECT_EQ(path, kelmoPathInfo().cefcacheDir(3));
    EXPECT_TRUE(path.startsWith(kelmoPathInfo().cacheDir() + QLatin1Char('/')));
    ASSERT_TRUE(QFileInfo(path).isDir());

    writeFile(path + QStringLiteral("/Cache/index/Cookies"), QStringLiteral("x"));
    EXPECT_TRUE(profile.cleanCefCache());
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_TRUE(profile.cleanCefCache()) << "nothing left to delete is success";
}

TEST_F(ProfileTest, InUseMarkLapsesAfter5000Ms)
{
    useClock();
    Profile profile(1, QString());
    EXPECT_FALSE(profile.isUsing()) << "never marked";

    profile.setIsUsing(true);
    m_now += 4000;
    EXPECT_TRUE(profile.isUsing());
    m_now += 1000;
    EXPECT_TRUE(profile.isUsing()) << "exactly 5000 ms is not more than 5000 ms";
    m_now += 1;
    EXPECT_FALSE(profile.isUsing());

    profile.setIsUsing(true);
    EXPECT_TRUE(profile.isUsing()) << "marking again renews the mark";
    profile.setIsUsing(false);
    EXPECT_FALSE(profile.isUsing());
}

TEST_F(ProfileTest, MarkSetBeforeMidnightCountsUntilSetAgain)
{
    useClock();
    Profile profile(1, QString());
    m_now = 24 * 3600 * 1000 - 1000;
    profile.setIsUsing(true);
    m_now = 60 * 1000;  // the next day: the time of day went back
    EXPECT_TRUE(profile.isUsing());
    profile.setIsUsing(true);
    m_now += 5001;
    EXPECT_FALSE(profile.isUsing());
}

struct ScreenCase {
    QRect screen;
    QRect window;
};

class DefaultWindow : public ProfileTest, public ::testing::WithParamInterface<ScreenCase> {};

TEST_P(DefaultWindow, IsCentredAndNoLargerThan1008x665)
{
    const ScreenCase c = GetParam();
    utility::setScreenResolutionForTesting([c] { return c.screen; });
    const WindowInfo window = Profile::defaultWindowInfo();
    EXPECT_EQ(QRect(window.x, window.y, window.width, window.height), c.window);
    EXPECT_EQ(window.zoom_level, 100);
    EXPECT_FALSE(window.maximize);
}

INSTANTIATE_TEST_SUITE_P(
    Screens, DefaultWindow,
    ::testing::Values(ScreenCase{QRect(0, 0, 1280, 720), QRect(136, 27, 1008, 665)},
                      ScreenCase{QRect(0, 0, 800, 600), QRect(0, 0, 800, 600)},
                      // Only the size counts, not where the screen starts; odd leftovers are halved with
                      // truncation.
                      ScreenCase{QRect(1920, 0, 1011, 668), QRect(1, 1, 1008, 665)}));

TEST_F(ProfileTest, DefaultWindowOnARealDisplay)
{
    test_support::XvfbHarness xvfb;
    if (!xvfb.start(1280, 720)) GTEST_SKIP() << xvfb.error().toStdString();
    const QByteArray previous = qgetenv("DISPLAY");
    qputenv("DISPLAY", xvfb.display().toLocal8Bit());
    utility::setScreenResolutionForTesting(nullptr);
    const WindowInfo window = Profile::defaultWindowInfo();
    qputenv("DISPLAY", previous);  // an empty DISPLAY is no display either
    EXPECT_EQ(QRect(window.x, window.y, window.width, window.height), QRect(136, 27, 1008, 665));
}

}  // namespace
