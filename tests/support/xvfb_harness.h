#pragma once
// A private X server for tests: Xvfb on a display number of its own choosing, with one screen of a given
// size, stopped with the object.
//
//   test_support::XvfbHarness xvfb;
//   if (!xvfb.start(1280, 720)) GTEST_SKIP() << xvfb.error().toStdString();
//   qputenv("DISPLAY", xvfb.display().toLocal8Bit());

#include <QProcess>
#include <QString>

namespace test_support {

class XvfbHarness {
public:
    XvfbHarness() = default;
    ~XvfbHarness();
    XvfbHarness(const XvfbHarness&) = delete;
    XvfbHarness& operator=(const XvfbHarness&) = delete;

    // Starts the server and waits until it accepts clients. False, with error() saying why, when Xvfb is
    // missing or does not come up within ten seconds.
    bool start(int width, int height);
    void stop();

    // ":N", the value for DISPLAY; empty while not running.
    QString display() const { return m_display; }
    QString error() const { return m_error; }

private:
    QProcess m_process;
    QString m_display;
    QString m_error;
};

}  // namespace test_support
