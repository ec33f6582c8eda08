// Raw jobs through the spooler (the in-memory one) and the job slot that print workers and their
// watchdog share.
#include "systemif/print.h"
#include "systemif/print_fake.h"

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

    // A worker whose job the spooler keeps processing, given up (claimed) while it waits.
    std::unique_ptr<Worker> givenUpWorker(int job)
    {
        fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
        auto worker = std::make_unique<Worker>("Kitchen", bytes, reports);
        worker->start();
        EXPECT_TRUE(jobsArrive(job));
        while (fake.spooler.jobs()[job - 1].state != SpoolerJobState::Processing) std::this_thread::yield();
        EXPECT_TRUE(worker->slot.claim());
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

TEST_F(SystemPrinterJob, JobWhosePrinterIsDeletedWhileItWaitsIsReportedNotDone)
{
    expectWaitEndsNotDoneWhen([this] { fake.spooler.removeQueue("Kitchen"); });
}

// A job given up while it prints: cancelled, and told by whoever gave it up by what may still come of it;
// its worker stops by itself without telling.
TEST_F(SystemPrinterJob, GivenUpJobIsCancelledAndToldByWhatMayStillPrint)
{
    const auto processing = givenUpWorker(1);
    EXPECT_EQ(processing->slot.settle().outcome, JobOutcome::Unconfirmed) << "its bytes were on their way";
    EXPECT_EQ(fake.spooler.jobs()[0].state, SpoolerJobState::Interrupted);

    const auto printed = givenUpWorker(2);
    fake.spooler.finishJob(fake.spooler.jobs()[1].id, true);
    EXPECT_EQ(printed->slot.settle().outcome, JobOutcome::Printed);

    const auto unanswered = givenUpWorker(3);
    fake.spooler.setReachable(false);
    EXPECT_EQ(unanswered->slot.settle().outcome, JobOutcome::Unconfirmed);
    EXPECT_TRUE(unanswered->slot.cancelPending()) << "to be cancelled once the spooler answers again";
    fake.spooler.setReachable(true);
    EXPECT_EQ(unanswered->slot.settle().outcome, JobOutcome::Unconfirmed);
    EXPECT_FALSE(unanswered->slot.cancelPending());
    EXPECT_EQ(fake.spooler.jobs()[2].cancels, 1);

    for (Worker* worker : {processing.get(), printed.get(), unanswered.get()})
        EXPECT_TRUE(worker->wait(5000)) << "a given-up worker stops waiting by itself";
    EXPECT_TRUE(reports.all().empty()) << "only whoever gave the jobs up tells them";
}

TEST_F(SystemPrinterJob, JobGivenUpBeforeItReachedTheSpoolerFailsAndAToldJobCannotBeGivenUp)
{
    PrintJobSlot unsent;
    ASSERT_TRUE(unsent.claim());
    EXPECT_EQ(unsent.settle().outcome, JobOutcome::Failed);
    EXPECT_FALSE(unsent.claim()) << "given up once";

    Worker worker("Kitchen", bytes, reports);
    worker.start();
    ASSERT_TRUE(worker.wait(5000));
    ASSERT_EQ(reports.all().size(), 1u);
    EXPECT_FALSE(worker.slot.claim()) << "told already";
    EXPECT_EQ(worker.slot.report().outcome, JobOutcome::Printed);
}
