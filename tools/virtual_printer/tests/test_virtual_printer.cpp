// The virtual printer served in-process, talked to over real loopback sockets.

#include "virtual_printer/virtual_printer.h"
#include "loopback_client.h"
#include "tool_run.h"

#include <gtest/gtest.h>
#include <QTemporaryDir>
#include <functional>
#include <mutex>

using namespace std::chrono_literals;
using virtual_printer::Options;
using virtual_printer::VirtualPrinter;

namespace {

class VirtualPrinterTest : public ::testing::Test {
protected:
    // A printer saving into a fresh directory (with an empty file `existing`), its handler recording each job.
    std::unique_ptr<VirtualPrinter> startPrinter(Options options = Options(), const QString& existing = QString())
    {
        m_dir = std::make_unique<QTemporaryDir>();
        EXPECT_TRUE(existing.isEmpty() || cli_test::writeFile(m_dir->filePath(existing), QByteArray()));
        options.outDir = m_dir->path().toStdString();
        auto printer = std::make_unique<VirtualPrinter>(options);
        printer->setJobHandler([this](const virtual_printer::SavedJob& job) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_handled << QString::asprintf("%d %s %lld", job.number, job.path.c_str(), job.size);
        });
        std::string error;
        EXPECT_TRUE(printer->start(&error)) << error;
        return printer;
    }
    QByteArray job(int number) const { return cli_test::fileBytes(m_dir->filePath(QString::asprintf("job-%04d.bin", number))); }
    QStringList files() const { return QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden); }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::mutex m_mutex;
    QStringList m_handled;  // "NUMBER PATH SIZE" of each job the handler was given, guarded by m_mutex
};

// Numbering continues after the jobs already in the directory; a connection without data saves nothing.
TEST_F(VirtualPrinterTest, SavesEachJobByteExactClosesTheConnectionAfterItAndTellsTheHandler)
{
    const std::string receipt("\x1b@\x1b\x61\x01Table 5\n\x00\xff\x1dVA\x00", 20);
    auto printer = startPrinter(Options(), QStringLiteral("job-0041.bin"));
    LoopbackClient(printer->port()).connected();  // a connection that closes without data
    ASSERT_TRUE(printer->waitForConnections(1, 5s));
    LoopbackClient first(printer->port());
    ASSERT_TRUE(first.send(receipt));
    EXPECT_TRUE(first.closedByPeer(5000));
    ASSERT_TRUE(LoopbackClient(printer->port()).send("second"));
    ASSERT_TRUE(printer->waitForJobs(2, 5s));
    EXPECT_EQ(job(42), QByteArray::fromStdString(receipt));
    EXPECT_EQ(job(43), "second");
    EXPECT_EQ(files(), (QStringList{"job-0041.bin", "job-0042.bin", "job-0043.bin"})) << "no partial files are left";
    std::lock_guard<std::mutex> lock(m_mutex);
    EXPECT_EQ(m_handled, (QStringList{"42 " + m_dir->filePath("job-0042.bin") + " 20", "43 " + m_dir->filePath("job-0043.bin") + " 6"}));
}

TEST_F(VirtualPrinterTest, EndsAJobAfterAnIdleGapWhenThePeerKeepsTheConnectionOpen)
{
    Options options;
    options.idleGap = 200ms;
    auto printer = startPrinter(options);
    LoopbackClient client(printer->port());
    ASSERT_TRUE(client.send("part one,", false) && client.send(" part two", false));
    ASSERT_TRUE(printer->waitForJobs(1, 5s));
    EXPECT_TRUE(client.closedByPeer(5000));
    EXPECT_EQ(job(1), "part one, part two");
}

// Each fault leaves the job's connection unread (or open) for a while, and the job comes out whole once the
// fault clears, as a printer prints its buffer: a job sent to a jammed printer may still print.
TEST_F(VirtualPrinterTest, FaultsHoldTheJobUntilTheyClearAndThenItPrintsWhole)
{
    const std::pair<const char*, std::function<void(Options&)>> faults[] = {
        {"hang", [](Options& o) { o.hang = true; }},
        {"hang that resumes by itself", [](Options& o) { o.hang = true; o.resumeAfter = 1s; }},
        {"stall after 4 bytes", [](Options& o) { o.stallAfter = 4; }},
        {"close late", [](Options& o) { o.closeDelay = 1s; }}};
    for (const auto& [name, fault] : faults) {
        SCOPED_TRACE(name);
        Options options;
        fault(options);
        auto printer = startPrinter(options);
        LoopbackClient client(printer->port());
        ASSERT_TRUE(client.send("the whole job"));
        EXPECT_FALSE(client.closedByPeer(300)) << "held by the fault";
        EXPECT_EQ(printer->jobCount(), 0);
        if (options.resumeAfter == 0s && options.closeDelay == 0s)
            printer->setHang(false);
        ASSERT_TRUE(printer->waitForJobs(1, 5s));
        EXPECT_EQ(job(1), "the whole job");
        EXPECT_TRUE(client.closedByPeer(1000));
    }
}

// Refusing from the start still reserves a port; accepting again listens there. (A port in use: the program.)
TEST_F(VirtualPrinterTest, RefusingPrinterKeepsItsPortAndListensThereAgain)
{
    Options options;
    options.refuse = true;
    auto printer = startPrinter(options);
    const int port = printer->port();
    EXPECT_FALSE(LoopbackClient(port).connected());
    std::string error;
    ASSERT_TRUE(printer->setRefuse(false, &error)) << error;
    EXPECT_EQ(printer->port(), port);
    ASSERT_TRUE(LoopbackClient(port).send("back"));
    ASSERT_TRUE(printer->waitForJobs(1, 5s));
    EXPECT_EQ(job(1), "back");
    ASSERT_TRUE(printer->setRefuse(true));
    EXPECT_FALSE(LoopbackClient(port).connected());
}

}  // namespace
