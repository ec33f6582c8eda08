// sbtool print on a printer that never takes the job: the tool shows the wait as it goes and reports the
// print watchdog's verdict after its real ten seconds.

#include "print_fixture.h"


using namespace cli_test;

namespace {

using PrintWatchdogCommand = PrintTest;

TEST_F(PrintWatchdogCommand, PrinterThatRefusesTheJobFailsAfterTheTenSecondLimit)
{
    Device off;
    addPrinter("SwitchedOff", &off, {"--refuse"});
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 4\n"));

    const ToolRun result = run({"print", "--printer", "SwitchedOff", homePath("r.bin")});
    // The scheduler's backend had begun (it keeps trying to connect), so the tool cannot say more.
    EXPECT_TRUE(failsWith(result, 1,
                          "sbtool: SwitchedOff: sent to the printer but not confirmed: given up after 10 s: "
                          "cancelled at the spooler while it was being sent to the printer"));
    EXPECT_EQ(withoutWaits(result.out), "SwitchedOff: queued\nSwitchedOff: sent as CUPS job 1\n");
    EXPECT_TRUE(result.out.contains("SwitchedOff: sent as CUPS job 1, waiting 8 s\n")) << result.out.constData();
}

}  // namespace
