// The print layer against cupsd only: queue records and port names from real device URIs, what a jammed
// printer's buffer prints after its job was given up, and the escpos backend's confirmations.
#include "systemif/ports.h"
#include "systemif/print.h"

#include "cups_printers.h"
#include "print_worker.h"
#include "same_bytes.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace systemif::print;
using print_test::Worker;
using test_support::CupsdHarness;

namespace {

using CupsSpooler = test_support::CupsPrintersTest;

}  // namespace

TEST_F(CupsSpooler, RecordsCarryQueueNameDriverAndPortNamedAfterTheDevice)
{
    ASSERT_TRUE(s_cups->addRawQueue("A-usb", "usb://Vendor/Model?serial=1")) << s_cups->error().toStdString();
    ASSERT_TRUE(s_cups->addRawQueue("B-lpt", "parallel:/dev/lp0")) << s_cups->error().toStdString();
    ASSERT_TRUE(s_cups->addRawQueue("C-com", "serial:/dev/ttyS0?baud=9600")) << s_cups->error().toStdString();
    ASSERT_TRUE(addPrinter("D-socket"));
    ASSERT_TRUE(s_cups->addRawQueue("E-ipp", "ipp://printer.example/ipp/print")) << s_cups->error().toStdString();

    int count = 0;
    PRINTER_INFO_2W* infos = nullptr;
    ASSERT_TRUE(PrintServics::printerInfo2List(count, infos));
    ASSERT_EQ(count, 5);
    const QStringList names{"A-usb", "B-lpt", "C-com", "D-socket", "E-ipp"};
    const QStringList ports{"USB001", "LPT1", "COM1", "IP_127.0.0.1", "IP_printer.example"};
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(infos[i].pPrinterName, names[i]);
        EXPECT_EQ(infos[i].pPortName, ports[i]) << names[i].toStdString();
        EXPECT_EQ(infos[i].pDriverName, "Local Raw Printer");
        EXPECT_EQ(infos[i].Attributes, 0u);
    }
    PrintServics::freePrinterInfo2List(infos);

    ASSERT_TRUE(s_cups->deleteQueue("A-usb")) << s_cups->error().toStdString();
    ASSERT_TRUE(PrintServics::printerInfo2List(count, infos));
    EXPECT_EQ(count, 4);
    EXPECT_EQ(infos[0].pPrinterName, "B-lpt");
    PrintServics::freePrinterInfo2List(infos);

    using namespace systemif::win;
    const auto key = RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->subKeyNames(), (QStringList{"IP_127.0.0.1", "IP_printer.example"}));
    EXPECT_EQ(key->subKey("IP_127.0.0.1")->value("IPAddress")->toString(""), "127.0.0.1");
    EXPECT_EQ(key->subKey("IP_127.0.0.1")->value("PortNumber")->toInt(0), m_devices[0]->printer->port());
    EXPECT_EQ(key->subKey("IP_printer.example")->value("HostName")->toString(""), "printer.example");
    EXPECT_EQ(key->subKey("IP_printer.example")->value("PortNumber")->toInt(0), 631);
}


// What had reached the jammed printer's buffer cannot be called back: it prints once the jam clears, which
// is why such a job is told "unconfirmed"; the rest of it never comes.
TEST_F(CupsSpooler, JobToAHangingPrinterGivenUpIsCancelledAndOnlyWhatWasBufferedPrintsAfterwards)
{
    Device* kitchen = addPrinter("Kitchen");
    kitchen->printer->setHang(true);
    // More than the loopback socket buffers hold, so that the backend blocks on the silent printer.
    const QByteArray large(32 * 1024 * 1024, 'x');
    {
        Worker worker("Kitchen", large);
        ASSERT_TRUE(kitchen->printer->waitForConnections(1, 20s));
        ASSERT_TRUE(waitForJobState(s_cups->jobIds("Kitchen").value(0), 5 /* processing */));
        ASSERT_TRUE(worker.slot.claim());
        EXPECT_EQ(worker.slot.settle().outcome, JobOutcome::Unconfirmed);
        ASSERT_TRUE(worker.wait(10000));
        EXPECT_EQ(worker.told.calls, 0) << "whoever gave the job up tells it, not its worker";
    }
    EXPECT_TRUE(waitForJobState(s_cups->jobIds("Kitchen").value(0), 7 /* canceled */));
    kitchen->printer->setHang(false);
    // Whether any of it had reached the printer depends on how far the backend got: a part, or nothing.
    kitchen->printer->waitForJobs(1, 1s);
    const int buffered = kitchen->printer->jobCount();
    ASSERT_LE(buffered, 1);
    if (buffered == 1) {
        EXPECT_LT(kitchen->savedJob(1).size(), large.size());
    }
    Worker next("Kitchen", "next order");
    ASSERT_TRUE(next.wait(20000));
    EXPECT_TRUE(next.told.done);
    ASSERT_TRUE(kitchen->printer->waitForJobs(buffered + 1, 10s));
    EXPECT_EQ(kitchen->savedJob(buffered + 1), "next order");
}

// Through the escpos backend a job counts as printed only once the printer confirms it: by answering the
// status request that ends the job (at once, also when it never closes the connection), or by closing the
// connection after it. A printer that does neither, or that answers with paper out, leaves the job
// unconfirmed, with the backend's word for why.
TEST_F(CupsSpooler, EscposQueueReportsWhatThePrinterConfirmed)
{
    using virtual_printer::Status;
    struct Case {
        const char* name;
        Status status;
        std::chrono::milliseconds closeDelay;
        JobOutcome outcome;
        const char* message;
    };
    const Case cases[] = {
        {"answers", Status::Ready, 0ms, JobOutcome::Printed, nullptr},
        {"answers, never closes", Status::Ready, 6s, JobOutcome::Printed, nullptr},
        {"silent, closes", Status::Silent, 0ms, JobOutcome::Printed, nullptr},
        {"silent, never closes", Status::Silent, 6s, JobOutcome::Unconfirmed,
         "sent 12 bytes, not confirmed: the printer neither answered nor closed the connection"},
        {"out of paper", Status::PaperOut, 0ms, JobOutcome::Unconfirmed,
         "the printer reports it is out of paper after the job: it may be partly printed"},
    };
    const QByteArray bytes("\x1b@Table 9\n\x00", 12);
    Device* device = addPrinter("Plain");
    auto& m_printer = device->printer;
    int saved = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        m_printer->setStatus(c.status);
        m_printer->setCloseDelay(c.closeDelay);
        const QString queue = QStringLiteral("Escpos%1").arg(saved);
        ASSERT_TRUE(s_cups->addRawQueue(queue, CupsdHarness::escposUri(m_printer->port()))) << s_cups->error().toStdString();
        Worker worker(queue, bytes);
        ASSERT_TRUE(worker.wait(20000));
        EXPECT_EQ(worker.told.calls, 1);
        const PrintJobSlot::Report report = worker.slot.report();
        EXPECT_EQ(report.outcome, c.outcome);
        if (c.message) {
            EXPECT_TRUE(report.reason.endsWith(QStringLiteral("(%1)").arg(c.message))) << report.reason.toStdString();
        }
        ASSERT_TRUE(m_printer->waitForJobs(++saved, 20s));
        EXPECT_EQ(device->savedJob(saved), bytes) << "the status request is answered, not printed";
    }
}
