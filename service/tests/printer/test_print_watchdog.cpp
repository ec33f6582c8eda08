// Jobs given up: by the watchdog when a job prints too long (its limit shortened here; the real ten seconds
// are tested against cupsd), by a printer change while they print, and under load. Nothing waits for a
// worker or the spooler while holding a lock, so no schedule deadlocks and every job is told once.
#include "printer_test_support.h"

#include "printer/dispatch_timing.h"
#include "printer/job_closer.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>

#include <atomic>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using namespace utility_business;
using namespace printer_test;
using service_business::DispatchTiming;
using service_business::PrintManager;
using service_business::Printer;
using systemif::print::FakeSpooler;
using systemif::print::SpoolerJobState;

namespace {

const std::string kCancelEntry = "name:\tservice_business::PrintThread::cancelPrintCurrentOrder\narguments:\t";
const std::string kStopEntry = "name:\tservice_business::PrintThread::cancelAllAndStop\narguments:\t";

QByteArray receipt(int number)
{
    return QByteArray("Order ") + QByteArray::number(number) + "\n";
}

int entriesOf(const char* dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

class PrintWatchdog : public FakeDispatchTest {
protected:
    void SetUp() override
    {
        FakeDispatchTest::SetUp();
        m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
        m_fake.usbPrintSupport.attach("/dev/usb/lp0");
        m_usb.model = QStringLiteral("/dev/usb/lp0");
        DispatchTiming timing;
        timing.jobLimitMs = kLimitMs;
        timing.watchdogPeriodMs = 50;
        service_business::setDispatchTimingForTesting(timing);
    }

    void print(const PrinterInfo& printer, int number)
    {
        PrintManager::printOrder(printer, receipt(number), m_outcomes.callback(number));
    }

    // Waits until the spooler has `count` jobs in all, the last of them processing.
    bool waitForProcessingJob(int count)
    {
        for (int i = 0; i < 3000; ++i) {
            const auto jobs = m_fake.spooler.jobs();
            if (jobs.size() >= count && jobs[count - 1].state == SpoolerJobState::Processing) return true;
            std::this_thread::sleep_for(5ms);
        }
        return false;
    }

    static constexpr int kLimitMs = 300;
    const PrinterInfo m_kitchen = printerRecord(20, "Kitchen", utility_enum::PRINTER_SYSTEM_NETWORK);
    PrinterInfo m_usb = printerRecord(21, "Usb", utility_enum::PRINTER_USB_PRINT_SUPPORT);
};

}  // namespace

TEST_F(PrintWatchdog, HangingJobIsCancelledToldUnconfirmedAndTheQueueGoesOnOnANewWorker)
{
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    QElapsedTimer sinceQueued;
    sinceQueued.start();
    print(m_kitchen, 1);
    ASSERT_TRUE(waitForProcessingJob(1));
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Complete);
    print(m_kitchen, 2);

    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_GE(sinceQueued.elapsed(), kLimitMs);
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{true});

    const auto jobs = m_fake.spooler.jobs();
    ASSERT_EQ(jobs.size(), 2);
    EXPECT_EQ(jobs[0].state, SpoolerJobState::Interrupted) << "the given-up job is cancelled at the spooler";
    EXPECT_EQ(m_fake.spooler.printed("Kitchen"), QList<QByteArray>{Printer::buildDocument(receipt(2)).bytes()});
    EXPECT_EQ(countRecords(m_log, "function", kCancelEntry), 1);
    EXPECT_TRUE(m_log.containsText("on printer [20], spooler job [1]: sent to the printer but not confirmed: given "
                                   "up after 0.3 s: cancelled at the spooler while it was being sent to the printer"));
}

TEST_F(PrintWatchdog, CallbackThatQueuesAJobWhileTheWatchdogGivesItsWorkerUpNeverDeadlocks)
{
    // Job 1's callback holds its worker past the limit and, once the watchdog has given that worker up,
    // queues job 2: the schedule in which a watchdog that waited for the worker under its lock hung for good.
    std::atomic<bool> queued{false};
    PrintManager::printOrder(m_kitchen, receipt(1), [&](bool printed) {
        m_outcomes.callback(1)(printed);
        EXPECT_TRUE(waitForRecords(m_log, "function", kCancelEntry));
        print(m_kitchen, 2);
        queued = true;
    });
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_TRUE(queued);
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{true});
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{true});
}

TEST_F(PrintWatchdog, FrozenSpoolerNeitherBlocksCallersNorDelaysTheVerdictAndTheCancelIsRetried)
{
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    print(m_kitchen, 1);
    ASSERT_TRUE(waitForProcessingJob(1));
    m_fake.spooler.setFrozen(true);
    QElapsedTimer call;
    call.start();
    print(printerRecord(22, "Other", utility_enum::PRINTER_SYSTEM_NETWORK), 2);
    EXPECT_LT(call.elapsed(), 50) << "queuing never waits for the spooler";

    ASSERT_TRUE(m_outcomes.waitFor(1, 5s));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_EQ(m_fake.spooler.jobs()[0].cancels, 0) << "told while the spooler did not answer";
    m_fake.spooler.setFrozen(false);
    EXPECT_TRUE(service_business::job_closer::waitUntilIdle(10s));
    EXPECT_EQ(m_fake.spooler.jobs()[0].state, SpoolerJobState::Interrupted) << "cancelled once it answers again";
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false}) << "told once";
}

TEST_F(PrintWatchdog, PrinterChangeStopsABusyWorkerAndEachOfItsJobsIsToldFalse)
{
    service_business::setDispatchTimingForTesting(DispatchTiming());
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    print(m_kitchen, 11);
    print(m_kitchen, 12);
    print(m_kitchen, 13);
    print(m_usb, 1);
    ASSERT_TRUE(m_outcomes.waitFor(1));
    ASSERT_TRUE(waitForProcessingJob(1));

    PrintManager::printerHasChanged({{30, m_usb.id}});

    ASSERT_TRUE(m_outcomes.waitForTotal(4));
    for (int number : {11, 12, 13}) EXPECT_EQ(m_outcomes.results(number), QList<bool>{false}) << number;
    const auto jobs = m_fake.spooler.jobs();
    ASSERT_EQ(jobs.size(), 1) << "the queued jobs never reach the spooler";
    EXPECT_EQ(jobs[0].state, SpoolerJobState::Interrupted) << "the job under way is cancelled at the spooler";
    EXPECT_EQ(countRecords(m_log, "function", kStopEntry), 1);
}

// 8 threads queue 2,000 jobs over 6 printers, half of them misbehaving, while callbacks queue more jobs and
// printer changes arrive: every queued job is told once, none told false prints, no thread or descriptor
// is left behind.
TEST_F(PrintWatchdog, LoadWithMisbehavingPrintersAndPrinterChangesTellsEveryJobOnce)
{
    for (const char* name : {"P1", "P2", "P3", "Hangs", "Fails", "Stops"})
        m_fake.spooler.addQueue(name, "POS-58", QStringLiteral("socket://10.1.1.1/%1").arg(name));
    m_fake.spooler.setJobOutcome("Hangs", FakeSpooler::JobOutcome::Hang);
    m_fake.spooler.setJobOutcome("Fails", FakeSpooler::JobOutcome::Fail);
    m_fake.spooler.setStopped("Stops", true);
    const QStringList names{"P1", "P2", "P3", "Hangs", "Fails", "Stops"};
    // The manager's watchdog, Qt's first-thread descriptor and the log file are there before counting.
    print(printerRecord(99, "P1", utility_enum::PRINTER_SYSTEM_NETWORK), 1);
    ASSERT_TRUE(m_outcomes.waitFor(1));
    PrintManager::printerHasChanged({});
    ASSERT_TRUE(service_business::job_closer::waitUntilIdle(5s));
    const int threadsBefore = entriesOf("/proc/self/task");
    const int descriptorsBefore = entriesOf("/proc/self/fd");

    std::atomic<int> next{1000};
    auto queue = [&](int number) {
        const PrinterInfo printer =
            printerRecord(100 + number % 6, names[number % 6], utility_enum::PRINTER_SYSTEM_NETWORK);
        PrintManager::printOrder(printer, receipt(number), [&, number](bool printed) {
            m_outcomes.callback(number)(printed);
            if (number % 20 == 0) {
                const int more = next++;
                PrintManager::printOrder(printerRecord(100 + more % 6, names[more % 6],
                                                       utility_enum::PRINTER_SYSTEM_NETWORK),
                                         receipt(more), m_outcomes.callback(more));
            }
        });
    };
    std::vector<std::thread> producers;
    for (int t = 0; t < 8; ++t)
        producers.emplace_back([&, t] {
            for (int i = 0; i < 250; ++i) queue(10 + t * 250 + i);
        });
    std::thread changes([] {
        for (int i = 0; i < 20; ++i) {
            PrintManager::printerHasChanged({{100, 100}, {101, 101}, {102, 102}, {103, 103}, {104, 104}});
            std::this_thread::sleep_for(20ms);
        }
    });
    for (std::thread& producer : producers) producer.join();
    changes.join();

    // Every accepted job is told; the rest found their queue full and are never told.
    PrintManager::printerHasChanged({});
    ASSERT_TRUE(service_business::job_closer::waitUntilIdle(30s));
    const int accepted = countRecordsStartingWith(m_log, "message", "push print item to order list, list size: ");
    ASSERT_TRUE(m_outcomes.waitForTotal(accepted, 60s)) << m_outcomes.total() << " of " << accepted;
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(m_outcomes.total(), accepted) << "no job told twice";

    QList<QByteArray> failed;
    for (int number : m_outcomes.order())
        if (m_outcomes.results(number) == QList<bool>{false}) failed << Printer::buildDocument(receipt(number)).bytes();
    for (const QString& name : names)
        for (const QByteArray& printed : m_fake.spooler.printed(name)) EXPECT_FALSE(failed.contains(printed));

    for (int i = 0; i < 100 && entriesOf("/proc/self/task") > threadsBefore; ++i) {
        PrintManager::printerHasChanged({});
        std::this_thread::sleep_for(50ms);
    }
    EXPECT_LE(entriesOf("/proc/self/task"), threadsBefore) << "no thread left behind";
    EXPECT_LE(entriesOf("/proc/self/fd"), descriptorsBefore) << "no descriptor left behind";
}
