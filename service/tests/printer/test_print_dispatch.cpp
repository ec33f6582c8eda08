// Print dispatch on the fake print services: queues, workers, the print path of each printer type, the
// outcomes told to callers and the log records. No worker is killed here (see test_print_watchdog.cpp).
#include "printer_test_support.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

#include <QList>

using namespace utility_business;
using namespace printer_test;
using service_business::PrintManager;
using service_business::Printer;
using systemif::print::FakeSpooler;
using systemif::print::UsbDevice;

namespace {

const std::string kPrintManagerUnit = "src/printer/print_manager";
const std::string kPrinterUnit = "src/printer/printer";

QByteArray receipt(int number)
{
    return QByteArray("\x1b@Order ") + QByteArray::number(number) + "\n\x1dVB" + QByteArray(1, '\0');
}

QByteArray document(int number)
{
    return Printer::buildDocument(receipt(number)).bytes();
}

// The entry record of an operation of the service, without arguments.
std::string entryOf(const std::string& operation)
{
    return "name:\tservice_business::" + operation + "\narguments:\t";
}

std::string pushedTo(const std::string& worker)
{
    return "push print cmd to thread [" + worker + "]";
}

class PrintDispatch : public FakeDispatchTest {
protected:
    void print(const PrinterInfo& printer, int number)
    {
        PrintManager::printOrder(printer, receipt(number), m_outcomes.callback(number));
    }

    bool waitForPops(int count)
    {
        return waitForRecords(m_log, "message", "pop front print item, print list size: 0", count);
    }
};

}  // namespace

TEST_F(PrintDispatch, SpoolerJobIsToldTrueOnceThePrinterHasPrintedIt)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
    const PrinterInfo kitchen = printerRecord(1, "Kitchen", utility_enum::PRINTER_SYSTEM_NETWORK);
    print(kitchen, 1);
    ASSERT_TRUE(m_outcomes.waitFor(1));
    ASSERT_TRUE(waitForPops(1));

    EXPECT_EQ(m_outcomes.results(1), QList<bool>{true});
    ASSERT_EQ(m_fake.spooler.printed("Kitchen").size(), 1);
    EXPECT_TRUE(sameBytes(document(1), m_fake.spooler.printed("Kitchen").first()));

    const std::string worker = workerOf(m_log, 1);
    ASSERT_FALSE(worker.empty());
    // The caller's lines and the worker's lines each keep their order; the two threads interleave freely.
    std::vector<std::string> callerTexts, workerTexts;
    for (const auto& record : m_log.records()) {
        const bool ofPrinter = record.text.rfind("name:\tservice_business::Printer::", 0) == 0;
        EXPECT_EQ(record.unit, ofPrinter ? kPrinterUnit : kPrintManagerUnit);
        const bool ofWorker =
            ofPrinter || record.text.rfind("pop front", 0) == 0 || record.text.rfind("print job [", 0) == 0;
        (ofWorker ? workerTexts : callerTexts).push_back(record.text);
    }
    const std::vector<std::string> expectedCaller{
        "name:\tservice_business::PrintManager::printOrder\narguments:\t" + kitchen.toJson().toStdString(),
        "create printer [1] work thread [" + worker + "]",
        "push print item to order list, list size: 1",
        pushedTo(worker),
    };
    const std::vector<std::string> expectedWorker{
        "name:\tservice_business::Printer::printDocBySysPrinter\narguments:\t",
        "print job [1] on printer [1], spooler job [1]: printed: the printer took the whole job",
        "pop front print item, print list size: 0",
    };
    EXPECT_EQ(callerTexts, expectedCaller);
    EXPECT_EQ(workerTexts, expectedWorker);
}

TEST_F(PrintDispatch, SpoolerJobThatFailsIsToldFalse)
{
    m_fake.spooler.addQueue("Bar", "XP-58", "usb://Vendor/XP-58");
    m_fake.spooler.setJobOutcome("Bar", FakeSpooler::JobOutcome::Fail);
    print(printerRecord(2, "Bar", utility_enum::PRINTER_SYSTEM_LOCAL), 1);
    m_fake.spooler.setJobOutcome("Bar", FakeSpooler::JobOutcome::Refuse);
    print(printerRecord(2, "Bar", utility_enum::PRINTER_SYSTEM_LOCAL), 2);
    ASSERT_TRUE(m_outcomes.waitForTotal(2));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{false});
    EXPECT_TRUE(m_fake.spooler.printed("Bar").isEmpty());
}

TEST_F(PrintDispatch, JobOnAnUnconnectedSpoolerPrinterIsDroppedWithoutCallback)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
    print(printerRecord(3, "Kitchen", utility_enum::PRINTER_SYSTEM_NETWORK, false), 1);
    ASSERT_TRUE(waitForPops(1));
    EXPECT_EQ(m_outcomes.total(), 0);
    EXPECT_TRUE(m_fake.spooler.jobs().isEmpty());
    EXPECT_EQ(countRecords(m_log, "error", "printer not connected"), 1);
}

TEST_F(PrintDispatch, UsbJobIsWrittenToItsDeviceAndAFailedWriteOrMissingDeviceIsToldFalse)
{
    m_fake.usbPrintSupport.attach("/dev/usb/lp0");
    PrinterInfo usb = printerRecord(4, QStringLiteral("Usb打印支持1"), utility_enum::PRINTER_USB_PRINT_SUPPORT);
    usb.model = QStringLiteral("/dev/usb/lp0");
    m_fake.usbBus.attach({"001", "004", {kSupportedVendor, kSupportedProduct}, true});
    const PrinterInfo libusb = printerRecord(5, QStringLiteral("Libusb打印机"), utility_enum::PRINTER_LIBUSB);
    print(usb, 1);
    print(libusb, 3);
    ASSERT_TRUE(m_outcomes.waitForTotal(2));
    m_fake.usbPrintSupport.setWriteResult(false);
    m_fake.usbBus.detachAll();
    print(usb, 2);
    print(libusb, 4);
    ASSERT_TRUE(m_outcomes.waitForTotal(4));

    for (int number : {1, 3}) EXPECT_EQ(m_outcomes.results(number), QList<bool>{true}) << number;
    for (int number : {2, 4}) EXPECT_EQ(m_outcomes.results(number), QList<bool>{false}) << number;
    EXPECT_EQ(m_fake.usbPrintSupport.written("/dev/usb/lp0"), QList<QByteArray>{document(1)});
    EXPECT_EQ(m_fake.usbBus.written("004"), QList<QByteArray>{document(3)});
    EXPECT_EQ(countRecords(m_log, "message", "print order by usb print support printer"), 2);
    EXPECT_EQ(countRecords(m_log, "error", "can not find libusb printer"), 1);
    EXPECT_EQ(countRecords(m_log, "function", entryOf("Printer::printDocByUsbPrinter")), 2);
}

TEST_F(PrintDispatch, RecordOfAnotherTypeIsDequeuedWithoutPrintingOrCallback)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://Vendor/TM-T20");
    m_fake.usbPrintSupport.attach("Kitchen");
    print(printerRecord(6, "Kitchen", utility_enum::PRINTER_UNUSABLE), 1);
    ASSERT_TRUE(waitForPops(1));
    print(printerRecord(6, "Kitchen", utility_enum::PrinterType(7)), 2);
    ASSERT_TRUE(waitForPops(2));
    // The worker goes on: a job for a printer that can print still prints.
    PrinterInfo usb = printerRecord(6, "Usb", utility_enum::PRINTER_USB_PRINT_SUPPORT);
    usb.model = QStringLiteral("Kitchen");
    print(usb, 3);
    ASSERT_TRUE(m_outcomes.waitFor(3));

    EXPECT_EQ(m_outcomes.order(), QList<int>{3});
    EXPECT_TRUE(m_fake.spooler.jobs().isEmpty());
    EXPECT_EQ(m_fake.usbPrintSupport.written("Kitchen").size(), 1);
}

TEST_F(PrintDispatch, The51stJobInAQueueIsDroppedAndNeverToldButStillLogged)
{
    m_fake.usbPrintSupport.attach("/dev/usb/lp0");
    PrinterInfo usb = printerRecord(8, "Usb", utility_enum::PRINTER_USB_PRINT_SUPPORT);
    usb.model = QStringLiteral("/dev/usb/lp0");
    Gate gate;  // holds the first job's worker until every job is queued
    PrintManager::printOrder(usb, receipt(1), [&](bool ok) {
        gate.pass();
        m_outcomes.callback(1)(ok);
    });
    ASSERT_TRUE(gate.waitForArrival());
    for (int number = 2; number <= 51; ++number) print(usb, number);

    const std::string worker = workerOf(m_log, 8);
    EXPECT_EQ(countRecords(m_log, "message", pushedTo(worker)), 51);
    EXPECT_EQ(countRecords(m_log, "message", "push print item to order list, list size: 50"), 1);
    EXPECT_EQ(countRecords(m_log, "message", "push print item to order list, list size: 51"), 0);

    gate.open();
    ASSERT_TRUE(m_outcomes.waitForTotal(50));
    ASSERT_TRUE(waitForPops(1));
    QList<int> printedInOrder;
    for (int number = 1; number <= 50; ++number) printedInOrder << number;
    EXPECT_EQ(m_outcomes.order(), printedInOrder);
    EXPECT_TRUE(m_outcomes.results(51).isEmpty());
    EXPECT_EQ(m_fake.usbPrintSupport.written("/dev/usb/lp0").size(), 50);
}

TEST_F(PrintDispatch, PrinterChangeMovesAWorkerWithItsQueueToTheNewId)
{
    m_fake.usbPrintSupport.attach("/dev/usb/lp0");
    m_fake.usbPrintSupport.attach("/dev/usb/lp1");
    PrinterInfo moved = printerRecord(3, "Usb1", utility_enum::PRINTER_USB_PRINT_SUPPORT);
    moved.model = QStringLiteral("/dev/usb/lp0");
    PrinterInfo gone = printerRecord(5, "Usb2", utility_enum::PRINTER_USB_PRINT_SUPPORT);
    gone.model = QStringLiteral("/dev/usb/lp1");
    print(gone, 10);
    ASSERT_TRUE(m_outcomes.waitFor(10));
    ASSERT_TRUE(waitForPops(1));

    Gate gate;
    PrintManager::printOrder(moved, receipt(1), [&](bool ok) {
        gate.pass();
        m_outcomes.callback(1)(ok);
    });
    ASSERT_TRUE(gate.waitForArrival());
    print(moved, 2);
    print(moved, 3);
    const std::string worker = workerOf(m_log, 3);

    PrintManager::printerHasChanged({{7, 3}});
    // Printer 5 had no job left: its worker stops without anyone being told anything.
    EXPECT_EQ(countRecords(m_log, "function", entryOf("PrintThread::cancelAllAndStop")), 1);
    EXPECT_EQ(m_outcomes.order(), QList<int>{10});

    moved.id = 7;
    print(moved, 4);
    EXPECT_TRUE(workerOf(m_log, 7).empty());
    EXPECT_EQ(countRecords(m_log, "message", pushedTo(worker)), 4);

    gate.open();
    ASSERT_TRUE(m_outcomes.waitForTotal(5));
    EXPECT_EQ(m_outcomes.order(), (QList<int>{10, 1, 2, 3, 4}));
    for (int number = 1; number <= 4; ++number) EXPECT_EQ(m_outcomes.results(number), QList<bool>{true}) << number;
    EXPECT_EQ(m_fake.usbPrintSupport.written("/dev/usb/lp0"),
              (QList<QByteArray>{document(1), document(2), document(3), document(4)}));

    // The old id is no one's any more: its next job makes a worker of its own.
    m_log.clear();
    moved.id = 3;
    print(moved, 5);
    ASSERT_TRUE(m_outcomes.waitFor(5));
    EXPECT_FALSE(workerOf(m_log, 3).empty());
    EXPECT_NE(workerOf(m_log, 3), worker);
}
