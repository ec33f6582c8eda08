// sbtool print on a printer that never takes the job: the tool shows the wait as it goes and reports the
// print watchdog's verdict after its real ten seconds.

#include "print_fixture.h"

#include "thread_kill.h"

using namespace cli_test;

namespace {

using PrintWatchdogCommand = PrintTest;

TEST_F(PrintWatchdogCommand, PrinterThatRefusesTheJobFailsAfterTheTenSecondLimit)
{
    // The tool's watchdog kills its print worker, which GCC's sanitizer cannot unwind in the tool either.
    SB_SKIP_IF_THREAD_KILL_UNSUPPORTED();
    Device off;
    addPrinter("SwitchedOff", &off, {"--refuse"});
    ASSERT_TRUE(writeFile(homePath("r.bin"), "\x1b@Table 4\n"));

    const ToolRun result = run({"print", "--printer", "SwitchedOff", homePath("r.bin")});
    EXPECT_TRUE(failsWith(result, 1, "sbtool: SwitchedOff: failed after the 10-second limit"));
    EXPECT_EQ(withoutWaits(result.out), "SwitchedOff: queued\nSwitchedOff: sent\n");
    EXPECT_TRUE(result.out.contains("SwitchedOff: sent, waiting 8 s\n")) << result.out.constData();
}

}  // namespace
