// sb-virtual-printer where a transcript cannot show it: a job's line and picture, the signals, a held job
// printed on resume, a taken port. (Its command line and stdin commands: transcripts/sb_virtual_printer.json.)

#include "loopback_client.h"
#include "receipt_preview/receipt_preview.h"
#include "tool_run.h"

#include <gtest/gtest.h>
#include <QImage>
#include <QTemporaryDir>
#include <algorithm>
#include <csignal>

namespace {

class VirtualPrinterCommand : public ::testing::Test {
protected:
    void TearDown() override { cli_test::exitCodeOf(m_process, 0); }
    // Starts the program; the port it says on its first line, 0 when it did not start.
    int start(const QStringList& extra = {})
    {
        m_process.start(QStringLiteral(SB_VIRTUAL_PRINTER), QStringList{"--port", "0", "--out", m_dir.path()} + extra);
        return next().toInt();
    }
    QByteArray next() { return cli_test::nextLine(m_process, QProcess::StandardOutput); }
    void signal(int number) { ::kill(static_cast<pid_t>(m_process.processId()), number); }
    QByteArray jobLine(int number, int size) const
    {
        return QStringLiteral("job %1 %2 %3").arg(number).arg(m_dir.filePath(QString::asprintf("job-%04d.bin", number))).arg(size).toUtf8();
    }

    QTemporaryDir m_dir;
    QProcess m_process;
};

// The picture is drawn from the job as received, GB18030 text read as such.
TEST_F(VirtualPrinterCommand, SaysEachJobAndDrawsItWithPreview)
{
    const int port = start({"--preview", "--preview-width", "80"});
    const std::string receipt = "\x1b\x61\x01\xd6\xd0\xce\xc4\n";
    ASSERT_TRUE(LoopbackClient(port).send(receipt));
    EXPECT_EQ(next(), jobLine(1, int(receipt.size())));
    EXPECT_EQ(next(), "preview 1 " + m_dir.filePath("job-0001.png").toUtf8());
    receipt_preview::Options wide;
    wide.paper = receipt_preview::Paper::Mm80;
    EXPECT_EQ(QImage(m_dir.filePath("job-0001.png")), receipt_preview::render(QByteArray::fromStdString(receipt), wide, nullptr));
}

TEST_F(VirtualPrinterCommand, SignalsToggleRefusalAndHangAHeldJobPrintsOnResumeAndItsPortIsTaken)
{
    const int port = start();
    for (const char* expected : {"refuse on", "refuse off"}) {
        signal(SIGUSR2);
        ASSERT_EQ(next(), expected);
        EXPECT_EQ(LoopbackClient(port).connected(), expected == std::string("refuse off"));
    }
    signal(SIGUSR1);
    ASSERT_EQ(next(), "hang on");
    LoopbackClient held(port);
    ASSERT_TRUE(held.send("held"));
    EXPECT_FALSE(held.closedByPeer(300));
    signal(SIGUSR1);
    QList<QByteArray> lines{next(), next()};  // the held job may be saved before the change is confirmed
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, (QList<QByteArray>{"hang off", jobLine(1, 4)}));
    // Its port, taken, is a runtime failure for another.
    const auto run = cli_test::runProgram(QStringLiteral(SB_VIRTUAL_PRINTER), {"--port", QString::number(port), "--out", m_dir.path()});
    EXPECT_EQ(QByteArray::number(run.exitCode) + ' ' + run.err,
              "1 sb-virtual-printer: bind 127.0.0.1:" + QByteArray::number(port) + ": Address already in use\n");
    signal(SIGTERM);
    EXPECT_EQ(cli_test::exitCodeOf(m_process), 0);
}

}  // namespace
