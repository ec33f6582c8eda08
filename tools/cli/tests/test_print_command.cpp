// sbtool print, format --print, printers and status through a private cupsd to in-process virtual printers:
// the printer gets exactly the document the service builds from the receipt, what each printer or queue
// says shows in the tables, and every way printing cannot start is one line. (Mistakes that need no
// scheduler are rows of the transcripts.)

#include "tool_run.h"

#include "cups_printers.h"
#include "receipt_preview/receipt_preview.h"
#include "same_bytes.h"
#include "service_business/printer.h"
#include "temp_home.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QRegularExpression>

#include <chrono>
#include <csignal>

using namespace cli_test;
using virtual_printer::Status;

namespace {

class PrintCommand : public test_support::CupsPrintersTest {
protected:
    static ToolRun tool(const QStringList& args) { return runProgram(QStringLiteral(SBTOOL), args); }
    static QString home(const QString& name) { return QDir(test_support::homeDir()).filePath(name); }
    static QByteArray documentOf(const QString& receiptFile)
    {
        QFile file(receiptFile);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return service_business::Printer::buildDocument(file.readAll()).bytes();
    }
    // A receipt of one line in the home; its path.
    static QString receipt()
    {
        QFile file(home(QStringLiteral("r.bin")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write("\x1b@Table 1\n") == 10);
        return file.fileName();
    }
};

TEST_F(PrintCommand, PrinterGetsTheServiceDocumentOfTheReceipt)
{
    Device* kitchen = addPrinter(QStringLiteral("Kitchen"));
    ASSERT_EQ(tool({"format", "dine", "-o", home("dine.bin")}).exitCode, 0);
    const ToolRun result = tool({"print", "--printer", "Kitchen", home("dine.bin")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, QByteArray());
    EXPECT_EQ(withoutWaits(result.out), "Kitchen: queued\nKitchen: sent as CUPS job 1\nKitchen: printed\n");
    ASSERT_TRUE(kitchen->printer->waitForJobs(1, std::chrono::seconds(5)));
    EXPECT_BYTES(documentOf(home("dine.bin")), kitchen->savedJob(1));
}

// The printer receives GB18030; drawn, it is the picture format drew from the formatter's UTF-8.
TEST_F(PrintCommand, FormatPrintsWhatItFormatsAndThePrintedJobDrawsAsThePreview)
{
    Device* bar = addPrinter(QStringLiteral("Bar"));
    ASSERT_EQ(tool({"format", "online", "--width", "80", "-o", home("online.bin")}).exitCode, 0);
    const ToolRun result = tool({"format", "online", "--width", "80", "--preview", home("online.png"), "--print", "Bar"});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(withoutWaits(result.out), "Bar: queued\nBar: sent as CUPS job 1\nBar: printed\n");
    ASSERT_TRUE(bar->printer->waitForJobs(1, std::chrono::seconds(5)));
    EXPECT_BYTES(documentOf(home("online.bin")), bar->savedJob(1));
    receipt_preview::Options wide;
    wide.paper = receipt_preview::Paper::Mm80;
    EXPECT_EQ(receipt_preview::render(bar->savedJob(1), wide, nullptr), QImage(home("online.png")));
}

TEST_F(PrintCommand, UnknownPrinterOrStoppedQueueFailsInOneLine)
{
    addPrinter(QStringLiteral("Patio"));
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Patio")));
    ToolRun result = tool({"print", "--printer", "Nowhere", receipt()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "sbtool: no printer \"Nowhere\" in CUPS (see \"sbtool printers\")\n");
    result = tool({"print", "--printer", "Patio", receipt()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "sbtool: Patio: failed: not sent: the printer is paused: Paused\n");
    EXPECT_EQ(withoutWaits(result.out), "Patio: queued\n");
}

// A queue on a parallel port that is stopped counts as unplugged; a port the client cannot print to (the
// error-handling backend wrapped around a socket, named after its scheme) is refused before anything is sent.
TEST_F(PrintCommand, OfflineOrUnusablePortIsRefusedInOneLine)
{
    ASSERT_TRUE(s_cups->addRawQueue(QStringLiteral("Upstairs"), QStringLiteral("parallel:/dev/lp7")));
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Upstairs")));
    ASSERT_TRUE(s_cups->addRawQueue(QStringLiteral("Wrapped"), QStringLiteral("beh:/1/3/5/socket://127.0.0.1:9/")));
    const std::pair<const char*, QByteArray> rows[] = {
        {"Upstairs", "sbtool: printer \"Upstairs\" is not connected: its queue is stopped or rejects jobs, or its "
                     "device is unplugged\n"},
        {"Wrapped", "sbtool: printer \"Wrapped\" is on port \"beh\", which the client cannot print to\n"}};
    for (const auto& row : rows) {
        const ToolRun result = tool({"print", "--printer", row.first, receipt()});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, row.second);
        EXPECT_EQ(result.out, QByteArray());
    }
}

// Ctrl-C or SIGTERM cancel the job at CUPS, so that it is not left there to print later; the jammed
// printer may have part of it, which the tool says.
TEST_F(PrintCommand, CtrlCOrSigtermCancelsTheJobAtCups)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        const QString name = QStringLiteral("Jammed%1").arg(signal);
        virtual_printer::Options jammed;
        jammed.hang = true;
        addPrinter(name, jammed);
        QProcess process;
        process.start(QStringLiteral(SBTOOL), {"print", "--printer", name, receipt()});
        EXPECT_EQ(nextLine(process, QProcess::StandardOutput), name.toUtf8() + ": queued");
        const QByteArray sent = nextLine(process, QProcess::StandardOutput);
        ASSERT_TRUE(sent.startsWith(name.toUtf8() + ": sent as CUPS job ")) << sent.constData();
        const int job = sent.mid(sent.lastIndexOf(' ') + 1).toInt();
        ASSERT_TRUE(waitForJobState(job, 5 /* processing */));
        ::kill(static_cast<pid_t>(process.processId()), signal);
        EXPECT_EQ(exitCodeOf(process, 20000), 1);
        EXPECT_EQ(s_cups->jobState(job), 7 /* canceled */);
        EXPECT_EQ(process.readAllStandardError(),
                  "sbtool: " + name.toUtf8() + ": sent to the printer but not confirmed: cancelled: cancelled at "
                                               "the spooler while it was being sent to the printer\n");
    }
}

// The columns of "sbtool printers", separated by two spaces or more, by queue name.
QMap<QString, QStringList> printerRows(const QByteArray& out)
{
    QMap<QString, QStringList> rows;
    for (const QByteArray& line : out.split('\n')) {
        const QStringList columns = QString::fromUtf8(line).split(QRegularExpression(QStringLiteral("  +")));
        if (columns.size() >= 8)
            rows.insert(columns.at(1), columns);
    }
    return rows;
}

// What each printer or its queue says shows in "printers" and "status"; a job to a printer out of paper fails
// at once with nothing sent, and one to a printer that never answers status requests still prints.
TEST_F(PrintCommand, PrintersAndStatusShowWhatEachPrinterOrItsQueueSays)
{
    const struct {
        const char* name;
        Status status;
        bool refuse;
        const char* state;
    } cases[] = {{"Ready", Status::Ready, false, "ready"},         {"PaperOut", Status::PaperOut, false, "paper-out"},
                 {"CoverOpen", Status::CoverOpen, false, "cover-open"}, {"Silent", Status::Silent, false, "unknown"},
                 {"Refusing", Status::Ready, true, "unreachable"},   {"Paused", Status::Ready, false, "paused"},
                 {"Rejecting", Status::Ready, false, "rejecting"}};
    std::map<std::string, Device*> devices;
    for (const auto& c : cases) {
        virtual_printer::Options options;
        options.status = c.status;
        options.refuse = c.refuse;
        devices[c.name] = addPrinter(QString::fromLatin1(c.name), options);
    }
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Paused")));
    ASSERT_TRUE(s_cups->rejectJobs(QStringLiteral("Rejecting")));
    ASSERT_TRUE(s_cups->addRawQueue(QStringLiteral("Nowhere"), test_support::CupsdHarness::socketUri(1)));

    const ToolRun table = tool({"printers"});
    ASSERT_EQ(table.exitCode, 0) << table.err.constData();
    EXPECT_TRUE(table.out.startsWith("ID  NAME")) << table.out.constData();
    const QMap<QString, QStringList> rows = printerRows(table.out);
    for (const auto& c : cases)
        EXPECT_EQ(rows.value(c.name).value(7), c.state) << c.name;
    EXPECT_EQ(rows.value("Nowhere").value(7), "unreachable");
    // Its id depends on the USB printers collected before the queues.
    EXPECT_EQ(rows.value("Ready").mid(2).join(' '), "network IP_127.0.0.1 network 58mm yes ready the printer says it is ready");
    EXPECT_EQ(rows.value("PaperOut").value(8), "the printer says it is out of paper");
    EXPECT_TRUE(tool({"printers", "--json"}).out.contains("\"state\": \"cover-open\""));
    EXPECT_EQ(tool({"status", "PaperOut"}).out, "PaperOut: paper-out (printer): the printer says it is out of paper\n");

    QElapsedTimer refused;
    refused.start();
    const ToolRun paperOut = tool({"print", "--printer", "PaperOut", receipt()});
    EXPECT_LT(refused.elapsed(), 1000) << "fails at once";
    EXPECT_EQ(paperOut.exitCode, 1);
    EXPECT_EQ(paperOut.err, "sbtool: PaperOut: failed: not sent: the printer is paper-out: the printer says it is out "
                            "of paper\n");
    const ToolRun silent = tool({"print", "--printer", "Silent", receipt()});
    EXPECT_EQ(silent.exitCode, 0) << silent.err.constData();
    EXPECT_TRUE(silent.out.endsWith("Silent: printed\n"));
    EXPECT_TRUE(devices["Silent"]->printer->waitForJobs(1, std::chrono::seconds(5)));
    EXPECT_EQ(devices["PaperOut"]->savedJobs(), 0) << "nothing reached the printer out of paper";
}

}  // namespace
