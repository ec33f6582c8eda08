// sbtool print, format --print and printers through a real cupsd to sb-virtual-printer: the printer gets
// exactly the document the service builds from the receipt, and every way printing cannot start is one line.

#include "print_fixture.h"

#include "service_business/printer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QRegularExpression>
#include <QThread>

#include <csignal>

using namespace cli_test;

namespace {

using PrintCommand = PrintTest;

QByteArray documentOf(const QByteArray& receipt)
{
    return service_business::Printer::buildDocument(receipt).bytes();
}

TEST_F(PrintCommand, PrinterGetsTheServiceDocumentOfTheReceipt)
{
    Device kitchen;
    addPrinter("Kitchen", &kitchen);
    ASSERT_TRUE(succeeds(run({"format", "dine", "-o", homePath("dine.bin")})));

    const ToolRun result = run({"print", "--printer", "Kitchen", homePath("dine.bin")});
    ASSERT_TRUE(succeeds(result));
    EXPECT_EQ(withoutWaits(result.out), "Kitchen: queued\nKitchen: sent as CUPS job 1\nKitchen: printed\n");
    const QByteArray document = documentOf(fileBytes(homePath("dine.bin")));
    EXPECT_EQ(kitchen.nextReport(),
              QStringLiteral("job 1 %1 %2").arg(kitchen.jobPath(1)).arg(document.size()).toUtf8());
    EXPECT_EQ(fileBytes(kitchen.jobPath(1)), document);
}

TEST_F(PrintCommand, FormatPrintsWhatItFormatsAndThePrinterDrawsWhatWasPreviewed)
{
    Device bar;
    addPrinter("Bar", &bar, {"--preview", "--preview-width", "80"});
    ASSERT_TRUE(succeeds(run({"format", "online", "--width", "80", "-o", homePath("online.bin")})));

    const ToolRun result = run({"format", "online", "--width", "80", "--preview", homePath("online.png"),
                                "--print", "Bar"});
    ASSERT_TRUE(succeeds(result));
    EXPECT_EQ(withoutWaits(result.out), "Bar: queued\nBar: sent as CUPS job 1\nBar: printed\n");
    ASSERT_TRUE(bar.nextReport().startsWith("job 1 "));
    EXPECT_EQ(bar.nextReport(), QStringLiteral("preview 1 %1").arg(bar.jobPath(1, "png")).toUtf8());
    EXPECT_EQ(fileBytes(bar.jobPath(1)), documentOf(fileBytes(homePath("online.bin"))));
    // The printer received GB18030; its picture is the one drawn from the formatter's UTF-8.
    const QImage printed(bar.jobPath(1, "png"));
    EXPECT_FALSE(printed.isNull());
    EXPECT_EQ(printed, QImage(homePath("online.png")));
}

TEST_F(PrintCommand, PrintersShowsTheQueueAsTheRegistryRecordsIt)
{
    Device counter;
    addPrinter("Counter", &counter);
    const ToolRun result = run({"printers"});
    ASSERT_TRUE(succeeds(result));
    const QList<QByteArray> lines = result.out.split('\n');
    ASSERT_GE(lines.size(), 2);
    EXPECT_TRUE(lines.first().startsWith("ID  NAME")) << result.out.constData();
    // Its id depends on the USB printers collected before the queues.
    bool found = false;
    for (const QByteArray& line : lines)
        found = found || line.simplified().endsWith(" Counter network IP_127.0.0.1 network 58mm yes ready the printer "
                                                    "says it is ready");
    EXPECT_TRUE(found) << result.out.constData();
}

TEST_F(PrintCommand, UnknownPrinterEmptyOrMissingFileIsOneLineEach)
{
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 1\n"));
    EXPECT_TRUE(failsWith(run({"print", "--printer", "Nowhere", homePath("r.bin")}), 1,
                          "sbtool: no printer \"Nowhere\" in CUPS (see \"sbtool printers\")"));
    ASSERT_TRUE(writeFile(homePath("empty.bin"), QByteArray()));
    EXPECT_TRUE(failsWith(run({"print", "--printer", "Kitchen", homePath("empty.bin")}), 1,
                          QStringLiteral("sbtool: %1 is empty: there is nothing to print").arg(homePath("empty.bin"))));
    const QString missing = homePath("none.bin");
    EXPECT_TRUE(failsWith(run({"print", "--printer", "Kitchen", missing}), 1,
                          QStringLiteral("sbtool: cannot read %1: No such file or directory").arg(missing)));
}

TEST_F(PrintCommand, JobOnAStoppedQueueFailsInOneLine)
{
    Device patio;
    addPrinter("Patio", &patio);
    ASSERT_TRUE(s_cups->stopQueue("Patio"));
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 2\n"));
    const ToolRun result = run({"print", "--printer", "Patio", homePath("r.bin")});
    EXPECT_TRUE(
        failsWith(result, 1, "sbtool: Patio: failed: not sent: the printer is paused: Paused"));
    EXPECT_EQ(withoutWaits(result.out), "Patio: queued\n");
}

// Ctrl-C or SIGTERM cancel the job at CUPS, so that it is not left there to print later; the jammed
// printer may have part of it, which the tool says.
TEST_F(PrintCommand, CtrlCOrSigtermCancelsTheJobAtCupsAndLeavesNoneBehind)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        Device jammed;
        const QString name = QStringLiteral("Jammed%1").arg(signal);
        addPrinter(name, &jammed, {"--hang"});
        ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 7\n"));
        QProcess* tool = start({"print", "--printer", name, homePath("r.bin")});
        ASSERT_NE(tool, nullptr);
        EXPECT_EQ(nextLine(*tool, QProcess::StandardOutput), name.toUtf8() + ": queued");
        const QByteArray sent = nextLine(*tool, QProcess::StandardOutput);
        ASSERT_TRUE(sent.startsWith(name.toUtf8() + ": sent as CUPS job ")) << sent.constData();
        const int job = sent.mid(sent.lastIndexOf(' ') + 1).toInt();
        for (int i = 0; i < 500 && s_cups->jobState(job) != 5 /* processing */; ++i) QThread::msleep(10);
        ::kill(static_cast<pid_t>(tool->processId()), signal);
        EXPECT_EQ(exitCodeOf(*tool, 20000), 1);
        EXPECT_EQ(s_cups->jobState(job), 7 /* canceled */);
        EXPECT_EQ(tool->readAllStandardError(),
                  "sbtool: " + name.toUtf8() +
                      ": sent to the printer but not confirmed: cancelled: cancelled at the spooler while it was "
                      "being sent to the printer\n");
    }
}

TEST_F(PrintCommand, OfflinePrinterOnALocalPortIsRefusedInOneLine)
{
    // A queue on a parallel port whose queue is stopped: the spooler marks it offline.
    ASSERT_TRUE(s_cups->addRawQueue("Upstairs", "parallel:/dev/lp7"));
    ASSERT_TRUE(s_cups->stopQueue("Upstairs"));
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 5\n"));
    const ToolRun result = run({"print", "--printer", "Upstairs", homePath("r.bin")});
    EXPECT_TRUE(failsWith(result, 1,
                          "sbtool: printer \"Upstairs\" is not connected: its queue is stopped or rejects jobs, or "
                          "its device is unplugged"));
    EXPECT_EQ(result.out, QByteArray());
}

TEST_F(PrintCommand, PrinterOnAPortTheClientCannotUseIsRefusedInOneLine)
{
    // The error-handling backend wrapped around a socket: its port is named after its scheme.
    ASSERT_TRUE(s_cups->addRawQueue("Wrapped", "beh:/1/3/5/socket://127.0.0.1:9/"));
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 6\n"));
    EXPECT_TRUE(failsWith(run({"print", "--printer", "Wrapped", homePath("r.bin")}), 1,
                          "sbtool: printer \"Wrapped\" is on port \"beh\", which the client cannot print to"));
}

// Without a scheduler: CUPS_SERVER names a socket nobody listens on.
class WithoutCups : public ToolTest {
protected:
    QMap<QString, QString> noScheduler() const { return {{"CUPS_SERVER", homePath("no-cups.sock")}}; }
};

TEST_F(WithoutCups, EveryCommandThatPrintsSaysCupsIsNotRunning)
{
    const QString line = QStringLiteral("sbtool: cannot reach the CUPS scheduler (is cupsd running?)");
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 3\n"));
    EXPECT_TRUE(failsWith(run({"print", "--printer", "Kitchen", homePath("r.bin")}, noScheduler()), 1, line));
    const ToolRun format = run({"format", "--print", "Kitchen"}, noScheduler());
    EXPECT_TRUE(failsWith(format, 1, line));
    EXPECT_EQ(format.out, QByteArray());
    EXPECT_TRUE(failsWith(run({"printers"}, noScheduler()), 1, line));
}

}  // namespace

namespace {

// The columns of "sbtool printers": separated by two spaces or more.
QMap<QString, QStringList> printerRows(const QByteArray& out)
{
    QMap<QString, QStringList> rows;
    for (const QByteArray& line : out.split('\n')) {
        const QStringList columns = QString::fromUtf8(line).split(QRegularExpression("  +"));
        if (columns.size() >= 8) rows.insert(columns.at(1), columns);
    }
    return rows;
}

}  // namespace

// What each printer or its queue says shows in "printers" and "status"; a job to a printer out of paper fails
// at once with nothing sent, and one to a printer that never answers status requests still prints.
TEST_F(PrintCommand, PrintersAndStatusShowWhatEachPrinterOrItsQueueSays)
{
    const struct {
        const char* name;
        QStringList options;
        const char* state;
    } cases[] = {
        {"Ready", {}, "ready"},
        {"PaperOut", {"--status", "paper-out"}, "paper-out"},
        {"CoverOpen", {"--status", "cover-open"}, "cover-open"},
        {"Silent", {"--status", "silent"}, "unknown"},
        {"Refusing", {"--refuse"}, "unreachable"},
        {"Paused", {}, "paused"},
        {"Rejecting", {}, "rejecting"},
    };
    Device devices[7];
    for (int i = 0; i < 7; ++i) addPrinter(cases[i].name, &devices[i], cases[i].options);
    ASSERT_TRUE(s_cups->stopQueue("Paused"));
    ASSERT_TRUE(s_cups->rejectJobs("Rejecting"));
    ASSERT_TRUE(s_cups->addRawQueue("Nowhere", test_support::CupsdHarness::socketUri(1)));

    const ToolRun table = run({"printers"});
    ASSERT_TRUE(succeeds(table));
    const QMap<QString, QStringList> rows = printerRows(table.out);
    for (const auto& c : cases) EXPECT_EQ(rows.value(c.name).value(7), c.state) << c.name;
    EXPECT_EQ(rows.value("Nowhere").value(7), "unreachable");
    EXPECT_EQ(rows.value("PaperOut").value(8), "the printer says it is out of paper");
    const ToolRun json = run({"printers", "--json"});
    ASSERT_TRUE(succeeds(json));
    EXPECT_TRUE(json.out.contains("\"state\": \"cover-open\"")) << json.out.constData();

    const ToolRun status = run({"status", "PaperOut"});
    ASSERT_TRUE(succeeds(status));
    EXPECT_EQ(status.out, "PaperOut: paper-out (printer): the printer says it is out of paper\n");

    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 8\n"));
    QElapsedTimer refused;
    refused.start();
    EXPECT_TRUE(failsWith(run({"print", "--printer", "PaperOut", homePath("r.bin")}), 1,
                          "sbtool: PaperOut: failed: not sent: the printer is paper-out: the printer says it is out "
                          "of paper"));
    EXPECT_LT(refused.elapsed(), 1000) << "fails at once";
    const ToolRun silent = run({"print", "--printer", "Silent", homePath("r.bin")});
    ASSERT_TRUE(succeeds(silent));
    EXPECT_TRUE(silent.out.endsWith("Silent: printed\n"));
    EXPECT_TRUE(devices[3].nextReport().startsWith("job 1 "));
    EXPECT_EQ(QDir(devices[1].dir).entryList({"job-*"}).size(), 0) << "nothing reached the printer out of paper";
}
