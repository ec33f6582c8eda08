// The tool's own help and its command table: every command answers --help, mistakes in the command name
// are usage errors, and the overview names every command and the exit codes.

#include "tool_run.h"

using namespace cli_test;

namespace {

using Usage = ToolTest;

const QStringList kCommands = {"format", "preview", "print", "printers", "profiles", "settings", "bus"};

TEST_F(Usage, OverviewListsEveryCommandAndTheExitCodes)
{
    const ToolRun result = run({"--help"});
    ASSERT_TRUE(succeeds(result));
    EXPECT_TRUE(result.out.startsWith("usage: sbtool COMMAND [ARGS...]\n"));
    for (const QString& command : kCommands)
        EXPECT_TRUE(result.out.contains(QStringLiteral("\n  %1 ").arg(command).toUtf8())) << command.toStdString();
    EXPECT_TRUE(result.out.endsWith("exit codes: 0 done, 1 the work failed, 2 the command line is wrong\n"));
    EXPECT_EQ(run({"help"}).out, result.out);
}

TEST_F(Usage, EveryCommandPrintsItsUsageWithItsExitCodes)
{
    for (const QString& command : kCommands) {
        const ToolRun help = run({command, "--help"});
        ASSERT_TRUE(succeeds(help)) << command.toStdString();
        EXPECT_TRUE(help.out.startsWith(QStringLiteral("usage: sbtool %1").arg(command).toUtf8()))
            << command.toStdString();
        EXPECT_TRUE(help.out.contains("\nexit codes: 0 ")) << command.toStdString();
        EXPECT_EQ(run({"help", command}).out, help.out) << command.toStdString();
    }
}

TEST_F(Usage, NoOrUnknownCommandIsOneLine)
{
    EXPECT_TRUE(failsWith(run({}), 2, "sbtool: no command given (see \"sbtool --help\")"));
    EXPECT_TRUE(failsWith(run({"fromat"}), 2, "sbtool: unknown command \"fromat\" (see \"sbtool --help\")"));
    EXPECT_TRUE(failsWith(run({"help", "fromat"}), 2, "sbtool: unknown command \"fromat\" (see \"sbtool --help\")"));
}

}  // namespace
