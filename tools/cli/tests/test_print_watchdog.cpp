// sbtool print on a printer that never takes the job: the tool shows the wait as it goes and reports the
// print watchdog's verdict after its real ten seconds.

#include "tool_run.h"
#include "cups_printers.h"
#include "temp_home.h"

namespace {

using PrintWatchdog = test_support::CupsPrintersTest;

TEST_F(PrintWatchdog, PrinterThatRefusesTheJobFailsAfterTheTenSecondLimit)
{
    virtual_printer::Options switchedOff;
    switchedOff.refuse = true;
    addPrinter(QStringLiteral("SwitchedOff"), switchedOff);
    const QString receipt = QDir(test_support::homeDir()).filePath(QStringLiteral("r.bin"));
    ASSERT_TRUE(cli_test::writeFile(receipt, "\x1b@Table 4\n"));
    const cli_test::ToolRun result = cli_test::runProgram(QStringLiteral(SBTOOL), {"print", "--printer", "SwitchedOff", receipt});
    // The scheduler's backend had begun (it keeps trying to connect), so the tool cannot say more.
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "sbtool: SwitchedOff: sent to the printer but not confirmed: given up after 10 s: "
                          "cancelled at the spooler while it was being sent to the printer\n");
    EXPECT_EQ(cli_test::withoutWaits(result.out), "SwitchedOff: queued\nSwitchedOff: sent as CUPS job 1\n");
    EXPECT_TRUE(result.out.contains("SwitchedOff: sent as CUPS job 1, waiting 8 s\n")) << result.out.constData();
}

}  // namespace
