// The sb-virtual-printer command: its output, its controls and its errors.
#include "loopback_client.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <functional>

namespace {

class VirtualPrinterCommand : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }
    void TearDown() override
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

    // Starts the command and returns the port of its first output line; 0 when it did not start.
    int start(const QStringList& extra = {})
    {
        m_process.start(SB_VIRTUAL_PRINTER, QStringList{"--port", "0", "--out", m_dir.path()} + extra);
        if (!m_process.waitForStarted(5000) || !m_process.waitForReadyRead(5000)) return 0;
        return m_process.readLine().trimmed().toInt();
    }

    QByteArray nextLine()
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_process.canReadLine() && timer.elapsed() < 5000) m_process.waitForReadyRead(100);
        return m_process.readLine().trimmed();
    }

    void command(const char* line)
    {
        m_process.write(line);
        m_process.write("\n");
        m_process.waitForBytesWritten(5000);
    }

    void signal(int number) { ::kill(static_cast<pid_t>(m_process.processId()), number); }

    QTemporaryDir m_dir;
    QProcess m_process;
};

}  // namespace

TEST_F(VirtualPrinterCommand, PrintsItsPortThenOneLinePerSavedJob)
{
    const int port = start();
    ASSERT_GT(port, 0);
    LoopbackClient client(port);
    ASSERT_TRUE(client.send("abc"));
    client.endData();
    EXPECT_EQ(nextLine(), QByteArray("job 1 ") + m_dir.filePath("job-0001.bin").toUtf8() + " 3");
}

TEST_F(VirtualPrinterCommand, Sigusr2TogglesRefusalAndStdinCommandsToo)
{
    const int port = start();
    ASSERT_GT(port, 0);
    const std::function<void()> controls[] = {[this] { signal(SIGUSR2); }, [this] { signal(SIGUSR2); },
                                              [this] { command("refuse"); }, [this] { command("accept"); }};
    bool refusing = false;
    for (const auto& control : controls) {
        control();
        refusing = !refusing;
        ASSERT_EQ(nextLine(), refusing ? "refuse on" : "refuse off");
        EXPECT_EQ(LoopbackClient(port).connected(), !refusing);
    }
}

TEST_F(VirtualPrinterCommand, Sigusr1AndCommandsSetTheFaultsAndAHeldJobPrintsOnResume)
{
    const int port = start();
    ASSERT_GT(port, 0);
    signal(SIGUSR1);
    ASSERT_EQ(nextLine(), "hang on");
    LoopbackClient held(port);
    ASSERT_TRUE(held.send("held"));
    held.endData();
    EXPECT_FALSE(held.closedByPeer(300));
    for (const char* change : {"stall 2", "stall off", "close-late 1", "close-late off"}) {
        command(change);
        EXPECT_EQ(nextLine(), change);
    }
    command("resume");
    // The held job may be saved before the change is confirmed.
    QList<QByteArray> lines{nextLine(), nextLine()};
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, (QList<QByteArray>{"hang off", "job 1 " + m_dir.filePath("job-0001.bin").toUtf8() + " 4"}));
}

TEST_F(VirtualPrinterCommand, TermAndQuitEndItCleanly)
{
    ASSERT_GT(start(), 0);
    signal(SIGTERM);
    ASSERT_TRUE(m_process.waitForFinished(5000));
    EXPECT_EQ(m_process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(m_process.exitCode(), 0);

    ASSERT_GT(start(), 0);
    command("quit");
    ASSERT_TRUE(m_process.waitForFinished(5000));
    EXPECT_EQ(m_process.exitCode(), 0);
}

TEST_F(VirtualPrinterCommand, APortInUseIsARuntimeFailureWithExitCode1)
{
    const int port = start();
    ASSERT_GT(port, 0);
    QProcess second;
    second.start(SB_VIRTUAL_PRINTER, {"--port", QString::number(port), "--out", m_dir.path()});
    ASSERT_TRUE(second.waitForFinished(5000));
    EXPECT_EQ(second.exitCode(), 1);
    EXPECT_TRUE(second.readAllStandardError().startsWith("sb-virtual-printer: bind 127.0.0.1:"));
}

TEST_F(VirtualPrinterCommand, BadArgumentsGiveOneLineOnStderrAndExitCode2)
{
    for (const QStringList& arguments : {QStringList{"--port", "99999", "--out", m_dir.path()},
                                         QStringList{"--out", m_dir.path()}, QStringList{"--port", "0", "--what"},
                                         QStringList{"--port", "0", "--out", m_dir.path(), "--stall", "x"}}) {
        m_process.start(SB_VIRTUAL_PRINTER, arguments);
        ASSERT_TRUE(m_process.waitForFinished(5000));
        EXPECT_EQ(m_process.exitCode(), 2) << arguments.join(' ').toStdString();
        const QList<QByteArray> errors = m_process.readAllStandardError().trimmed().split('\n');
        EXPECT_TRUE(errors.last().startsWith("sb-virtual-printer: ")) << errors.last().toStdString();
    }
}
