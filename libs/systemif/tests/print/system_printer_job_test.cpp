// Raw jobs through the spooler (the in-memory one) and the job slot that print workers and their
// watchdog share.
#include "systemif/print.h"
#include "systemif/print_fake.h"

#include "thread_kill.h"

#include <gtest/gtest.h>

#include <QThread>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <tuple>
#include <vector>

using namespace systemif::print;
using Outcome = PrintJobSlot::Outcome;

namespace {

struct Report {
    int jobId;
    QString printer;
    bool done;
    bool operator==(const Report& other) const
    {
        return std::tie(jobId, printer, done) == std::tie(other.jobId, other.printer, other.done);
    }
};

void PrintTo(const Report& report, std::ostream* out)
{
    *out << "{" << report.jobId << ", " << report.printer.toStdString() << ", " << report.done << "}";
}

class Reports {
public:
    JobCallback callback()
    {
        return [this](int jobId, const QString& printer, bool done) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_reports.push_back({jobId, printer, done});
        };
    }
    std::vector<Report> all() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_reports;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Report> m_reports;
};

// A print worker: binds its slot and prints one document.
class Worker : public QThread {
public:
    Worker(const QString& printer, const QByteArray& bytes, Reports& reports)
        : m_printer(printer), m_bytes(bytes), m_reports(reports)
    {
    }
    PrintJobSlot slot;
    std::atomic<int> returned{-1};

protected:
    void run() override
    {
        PrintJobSlot::Binding binding(slot);
        returned = PrintServics::printBySystemPrinter(m_printer, "receipt", Document(m_bytes), m_reports.callback());
    }

private:
    QString m_printer;
    QByteArray m_bytes;
    Reports& m_reports;
};

class SystemPrinterJob : public ::testing::Test {
protected:
    void SetUp() override { fake.spooler.addQueue("Kitchen", "POS-80", "socket://10.0.0.1:9100"); }

    // Waits until the spooler holds `count` jobs.
    bool jobsArrive(int count)
    {
        for (int i = 0; i < 500; ++i) {
            if (fake.spooler.jobs().size() >= count) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    // A worker killed while it waits for the spooler's `job`th job, which the spooler holds.
    std::unique_ptr<Worker> killedWorker(int job)
    {
        fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
        auto worker = std::make_unique<Worker>("Kitchen", bytes, reports);
        worker->start();
        EXPECT_TRUE(jobsArrive(job));
        worker->terminate();
        EXPECT_TRUE(worker->wait(5000));
        EXPECT_EQ(worker->returned, -1) << "the worker was killed while it waited";
        return worker;
    }

    // A job the spooler holds, its worker waiting, ends reported not done after `action`.
    void expectWaitEndsNotDoneWhen(const std::function<void()>& action)
    {
        fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
        std::thread worker(
            [&] { PrintServics::printBySystemPrinter("Kitchen", "receipt", Document(bytes), reports.callback()); });
        const bool arrived = jobsArrive(1);
        action();
        worker.join();
        ASSERT_TRUE(arrived);
        ASSERT_EQ(reports.all().size(), 1u);
        EXPECT_FALSE(reports.all()[0].done);
    }

    FakePrintSystem fake;
    Reports reports;
    const QByteArray bytes{"\x1b@Table 5\n\x00", 12};
};

}  // namespace

TEST_F(SystemPrinterJob, CompletedJobIsReportedDoneOnceWithItsId)
{
    const int id = PrintServics::printBySystemPrinter("Kitchen", "receipt", Document(bytes), reports.callback());
    EXPECT_GT(id, 0);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{id, "Kitchen", true}}));
    ASSERT_EQ(fake.spooler.jobs().size(), 1);
    EXPECT_EQ(fake.spooler.jobs()[0].docName, "receipt");
    EXPECT_EQ(fake.spooler.printed("Kitchen"), QList<QByteArray>{bytes});
}

TEST_F(SystemPrinterJob, AbortedRefusedOrEmptyJobIsReportedNotDone)
{
    fake.spooler.addQueue("Aborting", "", "socket://10.0.0.3");
    fake.spooler.setJobOutcome("Aborting", FakeSpooler::JobOutcome::Fail);
    const int aborted = PrintServics::printBySystemPrinter("Aborting", "receipt", Document(bytes), reports.callback());
    EXPECT_GT(aborted, 0);

    fake.spooler.addQueue("Rejecting", "", "socket://10.0.0.2");
    fake.spooler.setAcceptingJobs("Rejecting", false);
    fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Refuse);
    for (const QString printer : {"Kitchen", "Rejecting", "Unknown"})
        EXPECT_EQ(PrintServics::printBySystemPrinter(printer, "receipt", Document(bytes), reports.callback()), 0);
    fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Complete);
    EXPECT_EQ(PrintServics::printBySystemPrinter("Kitchen", "receipt", Document(nullptr, 0), reports.callback()), 0);
    EXPECT_EQ(reports.all(), (std::vector<Report>{{aborted, "Aborting", false},
                                                  {0, "Kitchen", false},
                                                  {0, "Rejecting", false},
                                                  {0, "Unknown", false},
                                                  {0, "Kitchen", false}}));
    EXPECT_EQ(fake.spooler.jobs().size(), 1) << "only the aborted job reached the spooler";
}

TEST_F(SystemPrinterJob, JobOnAStoppedPrinterIsReportedNotDoneAndCancelled)
{
    fake.spooler.setStopped("Kitchen", true);
    const int id = PrintServics::printBySystemPrinter("Kitchen", "receipt", Document(bytes), reports.callback());
    EXPECT_EQ(reports.all(), (std::vector<Report>{{id, "Kitchen", false}}));
    fake.spooler.setStopped("Kitchen", false);
    ASSERT_EQ(fake.spooler.jobs().size(), 1);
    EXPECT_EQ(fake.spooler.jobs()[0].state, SpoolerJobState::Failed) << "it will not print when started again";
}

TEST_F(SystemPrinterJob, SpoolerThatStopsAnsweringEndsTheWaitNotDone)
{
    expectWaitEndsNotDoneWhen([this] { fake.spooler.setReachable(false); });
}

TEST_F(SystemPrinterJob, JobWhosePrinterIsDeletedWhileItWaitsIsReportedNotDone)
{
    expectWaitEndsNotDoneWhen([this] { fake.spooler.removeQueue("Kitchen"); });
}

// The watchdog's cancel of a killed worker's job: cancelled while it waits, completed when it printed in the
// meantime, failed when the spooler cannot be asked; the watchdog reports, never the killed worker.
TEST_F(SystemPrinterJob, KilledWorkersJobIsCancelledUnlessItPrintedAndLeftToTheWatchdogToReport)
{
    SB_SKIP_IF_THREAD_KILL_UNSUPPORTED();
    const auto waiting = killedWorker(1);
    EXPECT_EQ(waiting->slot.cancel(), Outcome::Cancelled);
    EXPECT_EQ(fake.spooler.jobs()[0].state, SpoolerJobState::Failed);

    const auto printed = killedWorker(2);
    fake.spooler.finishJob(fake.spooler.jobs()[1].id, true);
    EXPECT_EQ(printed->slot.cancel(), Outcome::Completed);

    const auto unreachable = killedWorker(3);
    fake.spooler.setReachable(false);
    EXPECT_EQ(unreachable->slot.cancel(), Outcome::CancelFailed);
    EXPECT_TRUE(reports.all().empty());
}

TEST_F(SystemPrinterJob, CancelWhileTheWorkerStillWaitsSilencesTheWorker)
{
    fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    Worker worker("Kitchen", bytes, reports);
    worker.start();
    ASSERT_TRUE(jobsArrive(1));
    EXPECT_EQ(worker.slot.cancel(), Outcome::Cancelled);
    ASSERT_TRUE(worker.wait(5000)) << "the worker stops waiting by itself";
    EXPECT_EQ(worker.returned, fake.spooler.jobs()[0].id);
    EXPECT_TRUE(reports.all().empty()) << "only the canceller reports";
}

TEST_F(SystemPrinterJob, CancelAfterTheWorkerReportedSaysSoUntilTheSlotIsCleared)
{
    EXPECT_EQ(PrintJobSlot().cancel(), Outcome::NoJob);
    Worker worker("Kitchen", bytes, reports);
    worker.start();
    ASSERT_TRUE(worker.wait(5000));
    ASSERT_EQ(reports.all().size(), 1u);
    EXPECT_EQ(worker.slot.cancel(), Outcome::AlreadyReported);
    worker.slot.clear();
    EXPECT_EQ(worker.slot.cancel(), Outcome::NoJob);
}
