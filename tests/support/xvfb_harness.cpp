#include "xvfb_harness.h"

#include <QDeadlineTimer>
#include <QStandardPaths>

namespace test_support {

XvfbHarness::~XvfbHarness() { stop(); }

bool XvfbHarness::start(int width, int height)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
    if (program.isEmpty()) {
        m_error = QStringLiteral("Xvfb not found");
        return false;
    }
    // -displayfd makes the server pick a free display and write its number once it accepts clients.
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.start(program, {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                              QStringLiteral("0"), QStringLiteral("%1x%2x24").arg(width).arg(height),
                              QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    if (!m_process.waitForStarted(10000)) {
        m_error = QStringLiteral("Xvfb did not start: ") + m_process.errorString();
        return false;
    }
    QByteArray output;
    const QDeadlineTimer deadline(10000);
    while (!output.contains('\n') && !deadline.hasExpired()) {
        if (m_process.state() != QProcess::Running) break;
        m_process.waitForReadyRead(static_cast<int>(qMax<qint64>(1, deadline.remainingTime())));
        output += m_process.readAllStandardOutput();
    }
    const QString number = QString::fromLatin1(output).trimmed();
    if (!output.contains('\n') || number.isEmpty()) {
        m_error = QStringLiteral("Xvfb did not report a display: ") +
                  QString::fromLocal8Bit(m_process.readAllStandardError());
        stop();
        return false;
    }
    m_display = QLatin1Char(':') + number;
    return true;
}

void XvfbHarness::stop()
{
    m_display.clear();
    if (m_process.state() == QProcess::NotRunning) return;
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

}  // namespace test_support
