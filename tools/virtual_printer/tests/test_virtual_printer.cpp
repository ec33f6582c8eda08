// The virtual printer served in-process, talked to over real loopback sockets.

#include "virtual_printer/virtual_printer.h"

#include "loopback_client.h"
#include "qt_print.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

using namespace std::chrono_literals;
using virtual_printer::Options;
using virtual_printer::SavedJob;
using virtual_printer::VirtualPrinter;

namespace {

class VirtualPrinterTest : public ::testing::Test {
protected:
    std::unique_ptr<VirtualPrinter> startPrinter(Options options = Options(), QTemporaryDir* dir = nullptr)
    {
        options.outDir = (dir ? dir : &m_dir)->path().toStdString();
        auto printer = std::make_unique<VirtualPrinter>(options);
        printer->setJobHandler([this](const SavedJob& job) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_handled.push_back(job);
        });
        std::string error;
        EXPECT_TRUE(printer->start(&error)) << error;
        return printer;
    }
    QByteArray job(int number, const QTemporaryDir* dir = nullptr) const
    {
        QFile file((dir ? dir : &m_dir)->filePath(QString::asprintf("job-%04d.bin", number)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    QStringList files() const { return QDir(m_dir.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir m_dir;
    std::mutex m_mutex;
    std::vector<SavedJob> m_handled;  // what the job handler was given, guarded by m_mutex
};

TEST_F(VirtualPrinterTest, SavesEachJobByteExactClosesTheConnectionAfterItAndTellsTheHandler)
{
    const std::string receipt("\x1b@\x1b\x61\x01Table 5\n\x00\xff\x1dVA\x00", 20);
    auto printer = startPrinter();
    LoopbackClient first(printer->port());
    ASSERT_TRUE(first.send(receipt));
    EXPECT_TRUE(first.closedByPeer(5000));
    ASSERT_TRUE(LoopbackClient(printer->port()).send("second"));
    ASSERT_TRUE(printer->waitForJobs(2, 5s));
    EXPECT_EQ(job(1), QByteArray::fromStdString(receipt));
    EXPECT_EQ(job(2), "second");
    EXPECT_EQ(files(), (QStringList{"job-0001.bin", "job-0002.bin"})) << "no partial files are left";
    std::lock_guard<std::mutex> lock(m_mutex);
    ASSERT_EQ(m_handled.size(), 2u);
    EXPECT_EQ(m_handled[1].number, 2);
    EXPECT_EQ(m_handled[1].size, 6);
    EXPECT_EQ(QString::fromStdString(m_handled[1].path), m_dir.filePath("job-0002.bin"));
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

TEST_F(VirtualPrinterTest, ConnectionWithoutDataSavesNothingAndNumberingContinuesAfterTheDirectorysJobs)
{
    QFile old(m_dir.filePath("job-0041.bin"));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.close();
    auto printer = startPrinter();
    {
        LoopbackClient silent(printer->port());
        ASSERT_TRUE(printer->waitForConnections(1, 5s));
    }
    ASSERT_TRUE(LoopbackClient(printer->port()).send("new"));
    ASSERT_TRUE(printer->waitForJobs(1, 5s));
    EXPECT_EQ(job(42), "new");
    EXPECT_EQ(files(), (QStringList{"job-0041.bin", "job-0042.bin"}));
}

// Each fault leaves the job's connection unread (or open) for a while, and the job comes out whole once the
// fault clears, as a printer prints its buffer: a job sent to a jammed printer may still print.
TEST_F(VirtualPrinterTest, FaultsHoldTheJobUntilTheyClearAndThenItPrintsWhole)
{
    const struct {
        const char* name;
        std::function<void(Options&)> fault;
        bool clearsByItself;
    } cases[] = {
        {"hang", [](Options& o) { o.hang = true; }, false},
        {"hang that resumes by itself", [](Options& o) { o.hang = true; o.resumeAfter = 1s; }, true},
        {"stall after 4 bytes", [](Options& o) { o.stallAfter = 4; }, false},
        {"close late", [](Options& o) { o.closeDelay = 1s; }, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QTemporaryDir dir;
        Options options;
        c.fault(options);
        auto printer = startPrinter(options, &dir);
        LoopbackClient client(printer->port());
        ASSERT_TRUE(client.send("the whole job"));
        EXPECT_FALSE(client.closedByPeer(300)) << "held by the fault";
        EXPECT_EQ(printer->jobCount(), 0);
        if (!c.clearsByItself)
            printer->setHang(false);
        ASSERT_TRUE(printer->waitForJobs(1, 5s));
        EXPECT_EQ(job(1, &dir), "the whole job");
        EXPECT_TRUE(client.closedByPeer(1000));
    }
}

// Refusing from the start still reserves a port, and accepting again listens on that same port; another
// printer cannot take a port in use.
TEST_F(VirtualPrinterTest, RefusingPrinterKeepsItsPortAndListensThereAgain)
{
    Options options;
    options.refuse = true;
    auto printer = startPrinter(options);
    const int port = printer->port();
    ASSERT_GT(port, 0);
    EXPECT_FALSE(LoopbackClient(port).connected());
    std::string error;
    ASSERT_TRUE(printer->setRefuse(false, &error)) << error;
    EXPECT_EQ(printer->port(), port);
    ASSERT_TRUE(LoopbackClient(port).send("back"));
    ASSERT_TRUE(printer->waitForJobs(1, 5s));
    EXPECT_EQ(job(1), "back");

    options.port = port;
    options.outDir = m_dir.path().toStdString();
    VirtualPrinter second(options);
    EXPECT_FALSE(second.start(&error));
    EXPECT_EQ(error.find("bind 127.0.0.1:" + std::to_string(port)), 0u) << error;
    ASSERT_TRUE(printer->setRefuse(true));
    EXPECT_FALSE(LoopbackClient(port).connected());
}

}  // namespace
