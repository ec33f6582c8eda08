// sbtool print, format --print, printers and status through a private cupsd to in-process virtual printers;
// mistakes that need no scheduler are rows of the transcripts.

#include "tool_run.h"
#include "cups_printers.h"
#include "receipt_preview/receipt_preview.h"
#include "same_bytes.h"
#include "service_business/printer.h"
#include "temp_home.h"

#include <QImage>
#include <QRegularExpression>
#include <chrono>
#include <csignal>

using namespace cli_test;
using virtual_printer::Status;

namespace {

class PrintCommand : public test_support::CupsPrintersTest {
protected:
    static QString home(const QString& name) { return QDir(test_support::homeDir()).filePath(name); }
    // A receipt of one line in the home; its path.
    static QString receipt()
    {
        EXPECT_TRUE(writeFile(home("r.bin"), "\x1b@Table 1\n"));
        return home("r.bin");
    }
    // sbtool with the arguments: its exit code and the lines it said, stderr first ("CUPS job #": the ids
    // count the jobs of earlier tests of the program).
    static QString tool(const QStringList& args)
    {
        const ToolRun run = runProgram(QStringLiteral(SBTOOL), args);
        QString said = QString::number(run.exitCode) + ' ' + QString::fromUtf8(run.err + withoutWaits(run.out));
        return said.replace(QRegularExpression("CUPS job \\d+"), "CUPS job #");
    }
    // The printer's first job is the document of the receipt.
    static void expectPrinted(Device* device, const QString& receipt)
    {
        ASSERT_TRUE(device->printer->waitForJobs(1, std::chrono::seconds(5)));
        EXPECT_BYTES(service_business::Printer::buildDocument(fileBytes(receipt)).bytes(), device->savedJob(1));
    }
};

// By print and format --print; the printer receives GB18030, which draws as format's picture of the UTF-8.
TEST_F(PrintCommand, PrinterGetsTheServiceDocumentOfTheReceipt)
{
    Device* kitchen = addPrinter(QStringLiteral("Kitchen"));
    ASSERT_EQ(tool({"format", "dine", "-o", home("dine.bin")}), "0 ");
    EXPECT_EQ(tool({"print", "--printer", "Kitchen", home("dine.bin")}),
              "0 Kitchen: queued\nKitchen: sent as CUPS job #\nKitchen: printed\n");
    expectPrinted(kitchen, home("dine.bin"));
    Device* bar = addPrinter(QStringLiteral("Bar"));
    ASSERT_EQ(tool({"format", "online", "--width", "80", "-o", home("online.bin")}), "0 ");
    EXPECT_EQ(tool({"format", "online", "--width", "80", "--preview", home("online.png"), "--print", "Bar"}),
              "0 Bar: queued\nBar: sent as CUPS job #\nBar: printed\n");
    expectPrinted(bar, home("online.bin"));
    receipt_preview::Options wide;
    wide.paper = receipt_preview::Paper::Mm80;
    EXPECT_EQ(receipt_preview::render(bar->savedJob(1), wide, nullptr), QImage(home("online.png")));
}

// A stopped queue on a parallel port counts as unplugged; a port the client cannot print to (named by its scheme).
TEST_F(PrintCommand, UnknownPrinterStoppedQueueOrUnusablePortFailsInOneLine)
{
    addPrinter(QStringLiteral("Patio"));
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Patio")));
    ASSERT_TRUE(s_cups->addRawQueue(QStringLiteral("Upstairs"), QStringLiteral("parallel:/dev/lp7")));
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Upstairs")));
    ASSERT_TRUE(s_cups->addRawQueue(QStringLiteral("Wrapped"), QStringLiteral("beh:/1/3/5/socket://127.0.0.1:9/")));
    const std::pair<const char*, const char*> rows[] = {
        {"Nowhere", "1 sbtool: no printer \"Nowhere\" in CUPS (see \"sbtool printers\")\n"},
        {"Patio", "1 sbtool: Patio: failed: not sent: the printer is paused: Paused\nPatio: queued\n"},
        {"Upstairs", "1 sbtool: printer \"Upstairs\" is not connected: its queue is stopped or rejects jobs, or its device is unplugged\n"},
        {"Wrapped", "1 sbtool: printer \"Wrapped\" is on port \"beh\", which the client cannot print to\n"}};
    for (const auto& row : rows)
        EXPECT_EQ(tool({"print", "--printer", row.first, receipt()}), row.second);
}

// Ctrl-C or SIGTERM cancel the job at CUPS, not to print later; the jammed printer may have part of it, as said.
TEST_F(PrintCommand, CtrlCOrSigtermCancelsTheJobAtCups)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        const QByteArray name = "Jammed" + QByteArray::number(signal);
        virtual_printer::Options jammed;
        jammed.hang = true;
        addPrinter(name, jammed);
        QProcess process;
        process.start(QStringLiteral(SBTOOL), {"print", "--printer", name, receipt()});
        EXPECT_EQ(nextLine(process, QProcess::StandardOutput), name + ": queued");
        const QByteArray sent = nextLine(process, QProcess::StandardOutput);
        ASSERT_TRUE(sent.startsWith(name + ": sent as CUPS job ")) << sent.constData();
        const int job = sent.mid(sent.lastIndexOf(' ') + 1).toInt();
        ASSERT_TRUE(waitForJobState(job, 5 /* processing */));
        ::kill(static_cast<pid_t>(process.processId()), signal);
        EXPECT_EQ(exitCodeOf(process), 1);
        EXPECT_EQ(s_cups->jobState(job), 7 /* canceled */);
        EXPECT_EQ(process.readAllStandardError(), "sbtool: " + name + ": sent to the printer but not confirmed: cancelled: "
                                                                      "cancelled at the spooler while it was being sent to the printer\n");
    }
}

// What each printer or queue says, in "printers" and "status"; out of paper fails at once, silent still prints.
TEST_F(PrintCommand, PrintersAndStatusShowWhatEachPrinterOrItsQueueSays)
{
    const struct {
        const char* name;
        Status status;
        const char* state;
    } cases[] = {{"Ready", Status::Ready, "ready"},           {"PaperOut", Status::PaperOut, "paper-out"},
                 {"CoverOpen", Status::CoverOpen, "cover-open"}, {"Silent", Status::Silent, "unknown"},
                 {"Refusing", Status::Ready, "unreachable"},   {"Paused", Status::Ready, "paused"},
                 {"Rejecting", Status::Ready, "rejecting"}};
    std::map<std::string, Device*> devices;
    for (const auto& c : cases) {
        virtual_printer::Options options;
        options.status = c.status;
        options.refuse = c.state == std::string("unreachable");
        devices[c.name] = addPrinter(QString::fromLatin1(c.name), options);
    }
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Paused")));
    ASSERT_TRUE(s_cups->rejectJobs(QStringLiteral("Rejecting")));
    ASSERT_TRUE(s_cups->addRawQueue(QStringLiteral("Nowhere"), test_support::CupsdHarness::socketUri(1)));

    // The columns, separated by two spaces or more, by queue name; the ids depend on the USB printers found.
    const QString table = tool({"printers"});
    ASSERT_TRUE(table.startsWith("0 ID  NAME")) << table.toStdString();
    QMap<QString, QStringList> rows;
    for (const QString& line : table.split('\n')) {
        const QStringList columns = line.split(QRegularExpression(QStringLiteral("  +")));
        rows.insert(columns.value(1), columns);
    }
    for (const auto& c : cases)
        EXPECT_EQ(rows.value(c.name).value(7), c.state) << c.name;
    EXPECT_EQ(rows.value("Nowhere").value(7), "unreachable");
    EXPECT_EQ(rows.value("Ready").mid(2).join(' '), "network IP_127.0.0.1 network 58mm yes ready the printer says it is ready");
    EXPECT_EQ(rows.value("PaperOut").value(8), "the printer says it is out of paper");
    EXPECT_TRUE(tool({"printers", "--json"}).contains("\"state\": \"cover-open\""));
    EXPECT_EQ(tool({"status", "PaperOut"}), "0 PaperOut: paper-out (printer): the printer says it is out of paper\n");

    QElapsedTimer refused;
    refused.start();
    EXPECT_EQ(tool({"print", "--printer", "PaperOut", receipt()}),
              "1 sbtool: PaperOut: failed: not sent: the printer is paper-out: the printer says it is out of paper\nPaperOut: queued\n");
    EXPECT_LT(refused.elapsed(), 1000) << "fails at once";
    EXPECT_EQ(devices["PaperOut"]->savedJobs(), 0) << "nothing reached the printer out of paper";
    EXPECT_EQ(tool({"print", "--printer", "Silent", receipt()}), "0 Silent: queued\nSilent: sent as CUPS job #\nSilent: printed\n");
    expectPrinted(devices["Silent"], receipt());
}

// The print watchdog's verdict after its real ten seconds (labelled slow), the wait shown as it goes; the
// scheduler's backend had begun (it keeps trying to connect), so the tool cannot say more.
TEST_F(PrintCommand, PrinterThatRefusesTheJobFailsAfterTheTenSecondLimit)
{
    virtual_printer::Options switchedOff;
    switchedOff.refuse = true;
    addPrinter(QStringLiteral("SwitchedOff"), switchedOff);
    const ToolRun result = runProgram(QStringLiteral(SBTOOL), {"print", "--printer", "SwitchedOff", receipt()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "sbtool: SwitchedOff: sent to the printer but not confirmed: given up after 10 s: "
                          "cancelled at the spooler while it was being sent to the printer\n");
    const QString waits = QStringLiteral("(SwitchedOff: sent as CUPS job \\d+, waiting \\d+ s\n)*");
    EXPECT_TRUE(QRegularExpression("^SwitchedOff: queued\nSwitchedOff: sent as CUPS job \\d+\n" + waits + '$')
                    .match(QString::fromUtf8(result.out)).hasMatch()) << result.out.constData();
    EXPECT_TRUE(result.out.contains(", waiting 8 s\n")) << result.out.constData();
}

}  // namespace
