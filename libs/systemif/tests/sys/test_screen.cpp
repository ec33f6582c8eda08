// The screen size from a real X server (Xvfb), and the documented size when there is no display.

#include "systemif/sys.h"
#include "xvfb_harness.h"

#include <gtest/gtest.h>

#include <QByteArray>

// Readable failure messages; found by argument lookup, so beside QRect in the global namespace.
static void PrintTo(const QRect& rect, std::ostream* out)
{
    *out << rect.width() << "x" << rect.height() << " at " << rect.left() << "," << rect.top();
}

namespace {

// Each test sets DISPLAY as it needs; the caller's value comes back afterwards.
class Screen : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_hadDisplay = qEnvironmentVariableIsSet("DISPLAY");
        m_display = qgetenv("DISPLAY");
    }
    void TearDown() override
    {
        if (m_hadDisplay)
            qputenv("DISPLAY", m_display);
        else
            qunsetenv("DISPLAY");
    }

    bool m_hadDisplay = false;
    QByteArray m_display;
};

const QRect kNoDisplayScreen(0, 0, 1024, 768);

TEST_F(Screen, IsTheDefaultScreenOfTheDisplay)
{
    for (const QSize size : {QSize(1280, 720), QSize(800, 600)}) {
        test_support::XvfbHarness xvfb;
        if (!xvfb.start(size.width(), size.height())) GTEST_SKIP() << xvfb.error().toStdString();
        qputenv("DISPLAY", xvfb.display().toLocal8Bit());

        const QRect screen = systemif::sys::screenResolution();
        EXPECT_EQ(screen, QRect(QPoint(0, 0), size));
        // Right and bottom are inclusive: the width is right - left + 1.
        EXPECT_EQ(screen.right() - screen.left() + 1, size.width());
        EXPECT_EQ(screen.bottom() - screen.top() + 1, size.height());
    }
}

TEST_F(Screen, Is1024x768WithoutDisplayOrWhenNoServerAnswersOnIt)
{
    qunsetenv("DISPLAY");
    EXPECT_EQ(systemif::sys::screenResolution(), kNoDisplayScreen);
    qputenv("DISPLAY", "");
    EXPECT_EQ(systemif::sys::screenResolution(), kNoDisplayScreen);

    test_support::XvfbHarness xvfb;
    if (!xvfb.start(1280, 720)) GTEST_SKIP() << xvfb.error().toStdString();
    const QString gone = xvfb.display();
    xvfb.stop();
    qputenv("DISPLAY", gone.toLocal8Bit());
    EXPECT_EQ(systemif::sys::screenResolution(), kNoDisplayScreen);
}

}  // namespace
