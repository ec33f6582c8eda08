// The print layer against a real scheduler: a private cupsd with raw queues to the virtual printer on
// 127.0.0.1.
#include "systemif/ports.h"
#include "systemif/print.h"

#include "cupsd_harness.h"
#include "virtual_printer/virtual_printer.h"


#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <atomic>
#include <chrono>
#include <thread>

using namespace std::chrono_literals;
using namespace systemif::print;
using test_support::CupsdHarness;

namespace {

const int kIppJobProcessing = 5;
const int kIppJobCanceled = 7;

struct Outcome {
    std::atomic<int> calls{0};
    std::atomic<int> jobId{-1};
    std::atomic<bool> done{false};
    JobCallback callback()
    {
        return [this](int id, const QString&, bool isDone) {
            jobId = id;
            done = isDone;
            ++calls;
        };
    }
};

// A print worker as the print threads have one: a slot bound to its thread, one document to print.
class Worker : public QThread {
public:
    Worker(const QString& printer, const QByteArray& bytes) : m_printer(printer), m_bytes(bytes) {}
    PrintJobSlot slot;
    Outcome outcome;

protected:
    void run() override
    {
        PrintJobSlot::Binding binding(slot);
        PrintServics::printBySystemPrinter(m_printer, "receipt", Document(m_bytes), outcome.callback());
    }

private:
    QString m_printer;
    QByteArray m_bytes;
};

int openDescriptors()
{
    // Qt keeps a descriptor of its own from the first thread it starts on; start one before counting.
    std::unique_ptr<QThread> first(QThread::create([] {}));
    first->start();
    first->wait();
    return QDir("/proc/self/fd").entryList(QDir::Files | QDir::System).size();
}

class CupsSpooler : public ::testing::Test {
protected:
    void SetUp() override
    {
        const QString reason = CupsdHarness::unavailableReason();
        if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
        ASSERT_TRUE(m_cups.start()) << m_cups.error().toStdString();
        ASSERT_TRUE(m_out.isValid());
        virtual_printer::Options options;
        options.outDir = m_out.path().toStdString();
        m_printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
        std::string error;
        ASSERT_TRUE(m_printer->start(&error)) << error;
    }

    void TearDown() override
    {
        if (HasFailure() && !m_cups.dir().isEmpty()) std::cerr << m_cups.errorLog().right(4000).toStdString();
    }

    bool addPrinterQueue(const QString& name)
    {
        const bool added = m_cups.addRawQueue(name, CupsdHarness::socketUri(m_printer->port()));
        EXPECT_TRUE(added) << m_cups.error().toStdString();
        return added;
    }

    bool waitForJobState(int jobId, int state)
    {
        for (int i = 0; i < 1000; ++i) {
            if (m_cups.jobState(jobId) == state) return true;
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

    QStringList savedJobs() const { return QDir(m_out.path()).entryList({"job-*.bin"}, QDir::Files); }
    QByteArray savedJob(int number) const
    {
        QFile file(m_out.filePath(QString::asprintf("job-%04d.bin", number)));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

    // Prints on this thread and expects the job reported done under its id and saved byte-exact, alone after
    // `before` earlier jobs.
    void expectPrintsAfter(const QString& queue, const QByteArray& bytes, int before)
    {
        Outcome outcome;
        const int id = PrintServics::printBySystemPrinter(queue, "receipt", Document(bytes), outcome.callback());
        EXPECT_GT(id, 0);
        EXPECT_EQ(outcome.calls, 1);
        EXPECT_EQ(outcome.jobId, id);
        EXPECT_TRUE(outcome.done);
        ASSERT_TRUE(m_printer->waitForJobs(before + 1, 10s));
        EXPECT_EQ(savedJob(before + 1), bytes);
    }

    // Job 1 to "Kitchen" is given up while it is processing: cancelled at CUPS, told "unconfirmed" as its
    // backend had begun; its worker stops by itself, silent.
    void giveUpWhileItsJobIsProcessing(const QByteArray& bytes, bool waitForConnection)
    {
        Worker worker("Kitchen", bytes);
        worker.start();
        if (waitForConnection) {
            ASSERT_TRUE(m_printer->waitForConnections(1, 20s));
        }
        ASSERT_TRUE(waitForJobState(1, kIppJobProcessing)) << "the backend keeps trying to connect";
        ASSERT_TRUE(worker.slot.claim());
        EXPECT_EQ(worker.slot.settle().outcome, JobOutcome::Unconfirmed);
        EXPECT_FALSE(worker.slot.cancelPending());
        ASSERT_TRUE(worker.wait(10000));
        EXPECT_EQ(worker.outcome.calls, 0) << "whoever gave the job up tells it, not its worker";
    }

    CupsdHarness m_cups;
    QTemporaryDir m_out;
    std::unique_ptr<virtual_printer::VirtualPrinter> m_printer;
};

}  // namespace

TEST_F(CupsSpooler, RecordsCarryQueueNameDriverAndPortNamedAfterTheDevice)
{
    ASSERT_TRUE(m_cups.addRawQueue("A-usb", "usb://Vendor/Model?serial=1")) << m_cups.error().toStdString();
    ASSERT_TRUE(m_cups.addRawQueue("B-lpt", "parallel:/dev/lp0")) << m_cups.error().toStdString();
    ASSERT_TRUE(m_cups.addRawQueue("C-com", "serial:/dev/ttyS0?baud=9600")) << m_cups.error().toStdString();
    ASSERT_TRUE(addPrinterQueue("D-socket"));
    ASSERT_TRUE(m_cups.addRawQueue("E-ipp", "ipp://printer.example/ipp/print")) << m_cups.error().toStdString();

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

    ASSERT_TRUE(m_cups.deleteQueue("A-usb")) << m_cups.error().toStdString();
    ASSERT_TRUE(PrintServics::printerInfo2List(count, infos));
    EXPECT_EQ(count, 4);
    EXPECT_EQ(infos[0].pPrinterName, "B-lpt");
    PrintServics::freePrinterInfo2List(infos);

    using namespace systemif::win;
    const auto key = RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ);
    ASSERT_TRUE(key);
    EXPECT_EQ(key->subKeyNames(), (QStringList{"IP_127.0.0.1", "IP_printer.example"}));
    EXPECT_EQ(key->subKey("IP_127.0.0.1")->value("IPAddress")->toString(""), "127.0.0.1");
    EXPECT_EQ(key->subKey("IP_127.0.0.1")->value("PortNumber")->toInt(0), m_printer->port());
    EXPECT_EQ(key->subKey("IP_printer.example")->value("HostName")->toString(""), "printer.example");
    EXPECT_EQ(key->subKey("IP_printer.example")->value("PortNumber")->toInt(0), 631);
}

TEST_F(CupsSpooler, RawJobArrivesByteExactAndIsReportedDone)
{
    ASSERT_TRUE(addPrinterQueue("Kitchen"));
    QByteArray bytes;
    for (int i = 0; i < 4096; ++i) bytes.append(char(i % 256));  // every byte value, NUL included
    expectPrintsAfter("Kitchen", bytes, 0);
}

// A stopped queue's job is cancelled rather than printed once the queue starts again; a rejecting queue and
// an unknown printer get no job at all.
TEST_F(CupsSpooler, StoppedOrRejectingQueueWorksOfflineAndItsJobIsNeverPrinted)
{
    ASSERT_TRUE(addPrinterQueue("Kitchen"));
    ASSERT_TRUE(m_cups.stopQueue("Kitchen")) << m_cups.error().toStdString();
    ASSERT_TRUE(addPrinterQueue("Bar"));
    ASSERT_TRUE(m_cups.rejectJobs("Bar")) << m_cups.error().toStdString();
    for (const QString printer : {"Kitchen", "Bar"}) {
        PRINTER_INFO_2W* info = nullptr;
        ASSERT_TRUE(PrintServics::queryPrinterInfo2(printer, info));
        EXPECT_EQ(info->Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE, PRINTER_ATTRIBUTE_WORK_OFFLINE);
        PrintServics::freePrinterInfo2(info);
    }
    PRINTER_INFO_2W* info = nullptr;
    EXPECT_FALSE(PrintServics::queryPrinterInfo2("Nowhere", info));

    Outcome held;
    const int id = PrintServics::printBySystemPrinter("Kitchen", "receipt", Document("held", 4), held.callback());
    EXPECT_EQ(held.calls, 1);
    EXPECT_FALSE(held.done);
    EXPECT_EQ(m_cups.jobState(id), kIppJobCanceled);
    for (const QString printer : {"Bar", "Nowhere"}) {
        Outcome outcome;
        EXPECT_EQ(PrintServics::printBySystemPrinter(printer, "receipt", Document("x", 1), outcome.callback()), 0);
        EXPECT_EQ(outcome.calls, 1);
        EXPECT_FALSE(outcome.done);
    }

    ASSERT_TRUE(m_cups.startQueue("Kitchen")) << m_cups.error().toStdString();
    expectPrintsAfter("Kitchen", "after restart", 0);
    EXPECT_EQ(savedJobs(), QStringList{"job-0001.bin"});
}

TEST_F(CupsSpooler, JobToARefusingPrinterGivenUpIsCancelledAndNeverArrives)
{
    ASSERT_TRUE(addPrinterQueue("Kitchen"));
    ASSERT_TRUE(m_printer->setRefuse(true));
    const int descriptors = openDescriptors();
    ASSERT_NO_FATAL_FAILURE(giveUpWhileItsJobIsProcessing("never", false));
    EXPECT_EQ(openDescriptors(), descriptors) << "the given-up worker's connection is closed";
    EXPECT_EQ(m_cups.jobState(1), kIppJobCanceled);

    std::string error;
    ASSERT_TRUE(m_printer->setRefuse(false, &error)) << error;
    expectPrintsAfter("Kitchen", "next order", 0);
    EXPECT_EQ(savedJobs(), QStringList{"job-0001.bin"});
}

// What had reached the jammed printer's buffer cannot be called back: it prints once the jam clears, which
// is why such a job is told "unconfirmed"; the rest of it never comes.
TEST_F(CupsSpooler, JobToAHangingPrinterGivenUpIsCancelledAndOnlyWhatWasBufferedPrintsAfterwards)
{
    ASSERT_TRUE(addPrinterQueue("Kitchen"));
    m_printer->setHang(true);
    // More than the loopback socket buffers hold, so that the backend blocks on the silent printer.
    const QByteArray large(32 * 1024 * 1024, 'x');
    ASSERT_NO_FATAL_FAILURE(giveUpWhileItsJobIsProcessing(large, true));
    EXPECT_TRUE(waitForJobState(1, kIppJobCanceled));
    m_printer->setHang(false);
    // Whether any of it had reached the printer depends on how far the backend got: a part, or nothing.
    m_printer->waitForJobs(1, 1s);
    const int buffered = m_printer->jobCount();
    ASSERT_LE(buffered, 1);
    if (buffered == 1) {
        EXPECT_LT(savedJob(1).size(), large.size());
    }
    expectPrintsAfter("Kitchen", "next order", buffered);
    EXPECT_EQ(savedJobs().size(), buffered + 1);
}

TEST_F(CupsSpooler, PrintedJobCannotBeGivenUpAfterItsWorkerTold)
{
    ASSERT_TRUE(addPrinterQueue("Kitchen"));
    Worker worker("Kitchen", "printed");
    worker.start();
    ASSERT_TRUE(worker.wait(20000));
    EXPECT_EQ(worker.outcome.calls, 1);
    EXPECT_TRUE(worker.outcome.done);
    EXPECT_FALSE(worker.slot.claim());
    EXPECT_EQ(worker.slot.report().outcome, JobOutcome::Printed);
    ASSERT_TRUE(m_printer->waitForJobs(1, 10s));
    EXPECT_EQ(savedJob(1), "printed");
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
    int saved = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        m_printer->setStatus(c.status);
        m_printer->setCloseDelay(c.closeDelay);
        const QString queue = QStringLiteral("Escpos%1").arg(saved);
        ASSERT_TRUE(m_cups.addRawQueue(queue, CupsdHarness::escposUri(m_printer->port()))) << m_cups.error().toStdString();
        Worker worker(queue, bytes);
        worker.start();
        ASSERT_TRUE(worker.wait(20000));
        EXPECT_EQ(worker.outcome.calls, 1);
        const PrintJobSlot::Report report = worker.slot.report();
        EXPECT_EQ(report.outcome, c.outcome);
        if (c.message) {
            EXPECT_TRUE(report.reason.endsWith(QStringLiteral("(%1)").arg(c.message))) << report.reason.toStdString();
        }
        ASSERT_TRUE(m_printer->waitForJobs(++saved, 20s));
        EXPECT_EQ(savedJob(saved), bytes) << "the status request is answered, not printed";
    }
}
