// Print dispatch on the fake print services only: the log records of a job, the print path of each printer
// type, full queues, workers that follow a printer change, and a load of misbehaving printers.
#include "printer_test_support.h"

#include "printer/job_closer_p.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QList>

#include <atomic>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using namespace utility_business;
using namespace printer_test;
using service_business::PrintManager;
using service_business::Printer;
using systemif::print::FakeSpooler;
using systemif::print::UsbDevice;

namespace {

const std::string kPrintManagerUnit = "src/printer/print_manager";
const std::string kPrinterUnit = "src/printer/printer";

// The entry record of an operation of the service, without arguments.
std::string entryOf(const std::string& operation)
{
    return "name:\tservice_business::" + operation + "\narguments:\t";
}

int entriesOf(const char* dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
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

// Not even its queue's status is asked: a paused queue would fail the job aloud.
TEST_F(PrintDispatch, JobOnAnUnconnectedSpoolerPrinterIsDroppedWithoutCallback)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
    m_fake.spooler.setStopped("Kitchen", true);
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

// 8 threads queue 2,000 jobs over 6 printers, half of them misbehaving, while callbacks queue more jobs and
// printer changes arrive: every queued job is told once, none told false prints, no thread or descriptor
// is left behind.
TEST_F(PrintDispatch, LoadWithMisbehavingPrintersAndPrinterChangesTellsEveryJobOnce)
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
