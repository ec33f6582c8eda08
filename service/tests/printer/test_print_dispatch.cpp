// The print dispatch contract: receipts queued with PrintManager::printOrder, their workers, the watchdog and
// printer changes, run on the in-memory spooler (the watchdog's limit shortened) and on a private cupsd with
// the real ten seconds (SB_SPOOLER picks one). Every job is told once; a job told false never prints.
#include "printer_test_support.h"

#include "printer/job_closer_p.h"
#include "service_business/print_cmd_formater.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include "spoolers.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>

#include <atomic>

using namespace std::chrono_literals;
using namespace utility_business;
using namespace printer_test;
using service_business::DispatchTiming;
using service_business::PrintManager;
using service_business::Printer;
using test_support::SpoolerKind;

namespace {

QString example(const char* name)
{
    QFile file(QStringLiteral(SB_EXAMPLES_DIR "/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

class PrintDispatchContract : public test_support::SpoolerContractTest {
protected:
    void SetUp() override
    {
        SpoolerContractTest::SetUp();
        if (IsSkipped()) return;
        if (GetParam() == SpoolerKind::Fake) m_timing = DispatchTiming{300, 50};
        service_business::setDispatchTimingForTesting(m_timing);
        m_spooler->addQueue("Kitchen");
        m_spooler->addQueue("Bar");
    }
    void TearDown() override
    {
        EXPECT_TRUE(service_business::stopDispatchForTesting(15000)) << "a thread of print dispatch still runs";
        service_business::setDispatchTimingForTesting(DispatchTiming());
    }

    // A network printer record of the queue, under the id.
    PrinterInfo record(int id, const QString& queue) const
    {
        return printerRecord(id, m_spooler->queue(queue), utility_enum::PRINTER_SYSTEM_NETWORK);
    }
    void print(int id, const QString& queue, int number)
    {
        PrintManager::printOrder(record(id, queue), receipt(number), m_outcomes.callback(number));
    }
    // The queue printed nothing, also once its printer is back and whatever might still come has come.
    void expectNeverPrints(const QString& queue)
    {
        m_spooler->setPrinterOff(queue, false);
        m_spooler->settle();
        EXPECT_TRUE(m_spooler->printed(queue, 0).isEmpty()) << queue.toStdString();
    }

    DispatchTiming m_timing;
    CallbackLog m_outcomes;
    utility_business::log::Capture m_log;
};

}  // namespace

TEST_P(PrintDispatchContract, OrderFromTheFormatterArrivesAtThePrinterByteForByteAndIsToldTrue)
{
    SummaryPrintSettings settings;
    settings.width = QStringLiteral("80mm");
    settings.isPrintBarcodeEnabled = true;
    const QByteArray order = service_business::print_cmd_formater::formatOrder(
        example("restaurant.json"), example("online_order.json"), utility_enum::ORDER_ONLINE, settings);
    ASSERT_FALSE(order.isEmpty());
    PrintManager::printOrder(record(1, "Kitchen"), order, m_outcomes.callback(1));
    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{true});
    const QList<QByteArray> printed = m_spooler->printed("Kitchen", 1);
    ASSERT_EQ(printed.size(), 1);
    EXPECT_BYTES(Printer::buildDocument(order).bytes(), printed[0]);
}

TEST_P(PrintDispatchContract, JobOnAStoppedQueueIsToldFalseAndNeverPrintsLater)
{
    m_spooler->setStopped("Kitchen", true);
    print(1, "Kitchen", 1);
    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    m_spooler->setStopped("Kitchen", false);
    expectNeverPrints("Kitchen");
}

// The watchdog gives a job that its printer never takes up at its first look after the limit: the caller
// hears false, the job is cancelled at the spooler so that it never prints, and the next job of the same
// printer id (on another queue here, as a jammed printer gives no job a chance) prints on a new worker.
TEST_P(PrintDispatchContract, JobThatNeverPrintsIsToldFalseAfterTheLimitAndTheNextJobPrints)
{
    m_spooler->setPrinterOff("Kitchen", true);
    QElapsedTimer sinceQueued;
    sinceQueued.start();
    std::atomic<qint64> toldAfterMs{-1};
    PrintManager::printOrder(record(40, "Kitchen"), receipt(1), [&](bool ok) {
        toldAfterMs = sinceQueued.elapsed();
        m_outcomes.callback(1)(ok);
    });
    ASSERT_TRUE(m_spooler->waitProcessing("Kitchen", 1));
    print(40, "Bar", 2);

    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_GE(toldAfterMs, m_timing.jobLimitMs - 50);
    // Room for a loaded machine; still far below the ten seconds a limit that did not take would give.
    EXPECT_LE(toldAfterMs, m_timing.jobLimitMs + 2 * m_timing.watchdogPeriodMs + 2000);
    EXPECT_TRUE(m_spooler->waitCancelled("Kitchen", 1));
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{true});
    EXPECT_EQ(m_spooler->printed("Bar", 1), QList<QByteArray>{document(2)});
    EXPECT_TRUE(m_log.containsText(QStringLiteral("sent to the printer but not confirmed: given up after %1 s")
                                       .arg(m_timing.jobLimitMs / 1000.0)
                                       .toStdString()));
    expectNeverPrints("Kitchen");
}

// Job 1's callback holds its worker past the limit and, once the watchdog has given that worker up, queues
// job 2: the schedule in which a watchdog that waited for the worker under its lock hung for good.
TEST_P(PrintDispatchContract, CallbackThatQueuesAJobWhileTheWatchdogGivesItsWorkerUpNeverDeadlocks)
{
    PrintManager::printOrder(record(41, "Kitchen"), receipt(1), [&](bool printed) {
        m_outcomes.callback(1)(printed);
        EXPECT_TRUE(waitForRecords(m_log, "function",
                                   "name:\tservice_business::PrintThread::cancelPrintCurrentOrder\narguments:\t"));
        print(41, "Kitchen", 2);
    });
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{true});
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{true});
}

// The spooler stops answering while a job waits for a printer that never takes it: queuing another job still
// returns at once, the job is told false in time, and once the spooler answers again it is cancelled.
TEST_P(PrintDispatchContract, FrozenSpoolerNeitherBlocksCallersNorDelaysTheVerdictAndTheJobNeverPrints)
{
    m_spooler->setPrinterOff("Kitchen", true);
    print(42, "Kitchen", 1);
    ASSERT_TRUE(m_spooler->waitProcessing("Kitchen", 1));
    m_spooler->setFrozen(true);
    QElapsedTimer call;
    call.start();
    print(43, "Bar", 2);
    EXPECT_LT(call.elapsed(), 500) << "queuing never waits for the spooler, which answers nothing now";

    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    m_spooler->setFrozen(false);
    EXPECT_TRUE(service_business::job_closer::waitUntilIdle(10s));
    EXPECT_TRUE(m_spooler->waitCancelled("Kitchen", 1)) << "cancelled once the spooler answers again";
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false}) << "told once";
    expectNeverPrints("Kitchen");
}

TEST_P(PrintDispatchContract, PrinterChangeStopsABusyWorkerAndEachOfItsJobsIsToldFalse)
{
    service_business::setDispatchTimingForTesting(DispatchTiming());
    m_spooler->setPrinterOff("Kitchen", true);
    for (int number : {11, 12, 13}) print(20, "Kitchen", number);
    ASSERT_TRUE(m_spooler->waitProcessing("Kitchen", 1));

    PrintManager::printerHasChanged({{30, 21}});

    ASSERT_TRUE(m_outcomes.waitForTotal(3));
    for (int number : {11, 12, 13}) EXPECT_EQ(m_outcomes.results(number), QList<bool>{false}) << number;
    EXPECT_TRUE(m_spooler->waitCancelled("Kitchen", 1)) << "the job under way is cancelled at the spooler";
    EXPECT_EQ(countRecords(m_log, "function", "name:\tservice_business::PrintThread::cancelAllAndStop\narguments:\t"),
              1);
    expectNeverPrints("Kitchen");
}

INSTANTIATE_TEST_SUITE_P(On, PrintDispatchContract, ::testing::Values(SpoolerKind::SB_SPOOLER),
                         [](const auto& info) { return std::string(test_support::spoolerName(info.param)); });
