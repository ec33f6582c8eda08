// Workers that are killed: by the watchdog when a job prints too long (its limit shortened here; the real
// ten seconds are tested against cupsd), and by a printer change while they print.
#include "printer_test_support.h"

#include "printer/dispatch_timing.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include "thread_kill.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

#include <thread>

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

class PrintWatchdog : public FakeDispatchTest {
protected:
    void SetUp() override
    {
        FakeDispatchTest::SetUp();
        m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
        m_fake.usbPrintSupport.attach("/dev/usb/lp0");
        m_usb.model = QStringLiteral("/dev/usb/lp0");
    }

    void shortenTheLimit()
    {
        DispatchTiming timing;
        timing.jobLimitMs = kLimitMs;
        timing.watchdogPeriodMs = 50;
        service_business::setDispatchTimingForTesting(timing);
    }

    void print(const PrinterInfo& printer, int number)
    {
        PrintManager::printOrder(printer, receipt(number), m_outcomes.callback(number));
    }

    // Waits until the spooler has `count` jobs in all.
    bool waitForSpoolerJobs(int count)
    {
        for (int i = 0; i < 3000 && m_fake.spooler.jobs().size() < count; ++i) std::this_thread::sleep_for(10ms);
        return m_fake.spooler.jobs().size() >= count;
    }

    static constexpr int kLimitMs = 300;
    const PrinterInfo m_kitchen = printerRecord(20, "Kitchen", utility_enum::PRINTER_SYSTEM_NETWORK);
    PrinterInfo m_usb = printerRecord(21, "Usb", utility_enum::PRINTER_USB_PRINT_SUPPORT);
};

}  // namespace

TEST_F(PrintWatchdog, HangingSpoolerJobIsCancelledAndToldFalseThenTheNextJobPrints)
{
    SB_SKIP_IF_THREAD_KILL_UNSUPPORTED();
    shortenTheLimit();
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    QElapsedTimer sinceQueued;
    sinceQueued.start();
    print(m_kitchen, 1);
    ASSERT_TRUE(waitForSpoolerJobs(1));
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Complete);
    print(m_kitchen, 2);

    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_GE(sinceQueued.elapsed(), kLimitMs);
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{true});

    const auto jobs = m_fake.spooler.jobs();
    ASSERT_EQ(jobs.size(), 2);
    EXPECT_EQ(jobs[0].state, SpoolerJobState::Failed) << "the killed job is cancelled at the spooler";
    EXPECT_EQ(m_fake.spooler.printed("Kitchen"), QList<QByteArray>{Printer::buildDocument(receipt(2)).bytes()});
    EXPECT_EQ(countRecords(m_log, "function", kCancelEntry), 1);
    // The same worker went on, restarted rather than replaced.
    EXPECT_EQ(countRecords(m_log, "message", "create printer [20] work thread [" + workerOf(m_log, 20) + "]"), 1);
    EXPECT_EQ(countRecords(m_log, "message", "pop front print item, print list size: 1"), 1);
}

TEST_F(PrintWatchdog, PrinterChangeStopsABusyWorkerAndEachOfItsJobsIsToldFalse)
{
    SB_SKIP_IF_THREAD_KILL_UNSUPPORTED();
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    print(m_kitchen, 11);
    print(m_kitchen, 12);
    print(m_kitchen, 13);
    print(m_usb, 1);
    ASSERT_TRUE(m_outcomes.waitFor(1));
    ASSERT_TRUE(waitForSpoolerJobs(1));

    PrintManager::printerHasChanged({{30, m_usb.id}});

    EXPECT_EQ(m_outcomes.total(), 4) << "told before printerHasChanged returns";
    for (int number : {11, 12, 13}) EXPECT_EQ(m_outcomes.results(number), QList<bool>{false}) << number;
    const auto jobs = m_fake.spooler.jobs();
    ASSERT_EQ(jobs.size(), 1) << "the queued jobs never reach the spooler";
    EXPECT_EQ(jobs[0].state, SpoolerJobState::Failed) << "the job under way is cancelled at the spooler";
    EXPECT_EQ(countRecords(m_log, "function", kStopEntry), 1);
    EXPECT_EQ(countRecords(m_log, "message", "pop front print item, print list size: 0"), 2);
}
