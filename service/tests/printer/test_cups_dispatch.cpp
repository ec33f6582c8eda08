// From the formatter to the printer: receipts queued with PrintManager::printOrder go through a real cupsd
// to virtual printers on 127.0.0.1, byte for byte, and their callers hear how each job ended.
#include "cups_test_support.h"

#include "service_business/print_cmd_formater.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"
#include "service_business/printer_manager.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>

#include <thread>

using namespace std::chrono_literals;
using namespace utility_business;
using namespace printer_test;
using service_business::PrintManager;
using service_business::Printer;

namespace {

QString example(const char* name)
{
    QFile file(QStringLiteral(SB_EXAMPLES_DIR "/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

using CupsDispatch = CupsDispatchTest;

}  // namespace

TEST_F(CupsDispatch, OrderFromTheFormatterArrivesAtThePrinterByteForByte)
{
    Device* kitchen = addPrinter("Kitchen");
    SummaryPrintSettings settings;
    settings.width = QStringLiteral("80mm");
    settings.isPrintBarcodeEnabled = true;
    const QByteArray receipt = service_business::print_cmd_formater::formatOrder(
        example("restaurant.json"), example("online_order.json"), utility_enum::ORDER_ONLINE, settings);
    ASSERT_FALSE(receipt.isEmpty());

    const PrinterInfo printer = spoolerRecord(1, "Kitchen");
    EXPECT_EQ(printer.type, utility_enum::PRINTER_SYSTEM_NETWORK);
    EXPECT_EQ(printer.connectionType, "network");
    EXPECT_EQ(printer.hostAddress, "127.0.0.1");
    ASSERT_TRUE(printer.connected);

    PrintManager::printOrder(printer, receipt, m_outcomes.callback(1));
    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{true});
    ASSERT_TRUE(kitchen->printer->waitForJobs(1, 20s));
    EXPECT_TRUE(sameBytes(Printer::buildDocument(receipt).bytes(), kitchen->savedJob(1)));
}

TEST_F(CupsDispatch, JobOnAStoppedQueueIsToldFalseAndNeverPrintsLater)
{
    Device* kitchen = addPrinter("Kitchen");
    const PrinterInfo printer = spoolerRecord(1, "Kitchen");
    ASSERT_TRUE(s_cups->stopQueue("Kitchen"));
    PrintManager::printOrder(printer, "Table 9\n", m_outcomes.callback(1));
    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});

    ASSERT_TRUE(s_cups->startQueue("Kitchen"));
    std::this_thread::sleep_for(3s);
    EXPECT_EQ(kitchen->printer->jobCount(), 0);
}

// Many receipt printers serve one connection at a time; the registry's status reads never hold one while a
// job of ours prints, and last a fraction of a second, so no job waits behind them for long or is refused.
TEST_F(CupsDispatch, StatusReadsOfAPrinterServingOneConnectionAtATimeNeitherHoldUpNorRefuseJobs)
{
    virtual_printer::Options options;
    options.oneAtATime = true;
    Device* counter = addPrinter("Counter", options, true);
    const PrinterInfo printer = spoolerRecord(60, "Counter");
    service_business::PrinterManager::updatePrinters({printer});
    const QByteArray receipt("\x1b@Table 12\n", 11);
    auto timedJob = [&](int number) {
        QElapsedTimer job;
        job.start();
        PrintManager::printOrder(printer, receipt, m_outcomes.callback(number));
        EXPECT_TRUE(m_outcomes.waitFor(number, 20s));
        EXPECT_EQ(m_outcomes.results(number), QList<bool>{true}) << number;
        return job.elapsed();
    };
    const qint64 alone = timedJob(1);
    service_business::PrinterManager::watchPrinterStatus(20);  // far more often than a shop's five seconds
    for (int number = 2; number <= 11; ++number) {
        // Gaps of different lengths between the jobs, so that reads fall between them and some job begins while
        // a read is under way.
        std::this_thread::sleep_for(std::chrono::milliseconds(7 * number));
        EXPECT_LT(timedJob(number), alone + 1000) << number;
    }
    service_business::PrinterManager::watchPrinterStatus(0);
    EXPECT_EQ(service_business::PrinterManager::printerStatus(60).reason, "the printer says it is ready")
        << "the watch read the printer meanwhile";
    EXPECT_EQ(counter->printer->jobCount(), 11);
}
