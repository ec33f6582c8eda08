// The tool's own help and its command table: every command answers --help, mistakes in the command name
// are usage errors, and the overview names every command and the exit codes.

#include "tool_run.h"

#include <QFileInfo>

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

// Mistakes on the command line of each command: exit code 2, one line, and nothing made in the home.
TEST_F(Usage, CommandLineMistakesAreUsageErrors)
{
    const struct {
        QStringList args;
        const char* message;
    } table[] = {
        {{"format", "--width", "72"}, "--width must be 58 or 80"},
        {{"format", "--copies", "-1"}, "--copies must be a whole number of 0 or more"},
        {{"format", "takeaway"}, "unknown kind \"takeaway\""},
        {{"format", "summary", "--copies", "2"}, "the summary always prints one copy; --copies does not apply"},
        {{"format", "dine", "extra"}, "unexpected argument \"extra\""},
        {{"preview", "r.bin"}, "-o OUT.png is required"},
        {{"preview", "r.bin", "-o", "x.png", "--width", "58mm"}, "--width must be 58 or 80"},
        {{"preview", "r.bin", "-o", "x.png", "--scale", "4"}, "--scale must be a whole number from 1 to 3"},
        {{"print", "r.bin"}, "--printer NAME is required"},
        {{"print", "--printer", "Kitchen"}, "no FILE to print"},
        {{"print", "--printer"}, "--printer needs a value"},
        {{"printers", "--all"}, "unexpected argument \"--all\""},
        {{"profiles"}, "no action given"},
        {{"profiles", "rename"}, "unknown action \"rename\""},
        {{"profiles", "add"}, "\"add\" takes one USER"},
        {{"profiles", "add", ""}, "the user name is empty"},
        {{"profiles", "remove", "first"}, "a profile id is a whole number from 1"},
        {{"settings", "repair"}, "unknown action \"repair\""},
        {{"settings", "env"}, "\"env\" is followed by get or set"},
        {{"settings", "env", "set", "key"}, "\"env set\" takes a KEY and a VALUE"},
        {{"bus"}, "no action given"},
        {{"bus", "publish"}, "unknown action \"publish\""},
        {{"bus", "listen"}, "\"listen\" takes one TOPIC"},
        {{"bus", "listen", "1", "--count", "0"}, "--count must be a whole number from 1"},
    };
    for (const auto& row : table)
        EXPECT_TRUE(usageError(run(row.args), row.args.first(), row.message)) << row.args.join(' ').toStdString();
    EXPECT_FALSE(QFileInfo::exists(dataPath(QString())));
}

}  // namespace
