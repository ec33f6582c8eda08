// From the formatter to the printer: receipts queued with PrintManager::printOrder go through a real cupsd
// to virtual printers on 127.0.0.1, byte for byte, and their callers hear how each job ended.
#include "cups_test_support.h"

#include "service_business/print_cmd_formater.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

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
