// sbtool print: receipt bytes printed on a CUPS queue through the service's print dispatch.

#include "commands.h"
#include "print_job.h"

namespace sbtool {
namespace {

const char usageText[] =
    "usage: sbtool print --printer NAME FILE\n"
    "\n"
    "Prints FILE, receipt bytes as \"sbtool format -o FILE\" writes them, on the CUPS queue NAME,\n"
    "through the service's print dispatch as the client prints: the bytes are converted to the\n"
    "printer's code page, sent raw, and watched by the print watchdog, which ends a job that has\n"
    "not printed after ten seconds. Each state is shown as it comes:\n"
    "\n"
    "  NAME: queued      the job waits for the printer's print thread\n"
    "  NAME: sent        the print thread has handed it to CUPS\n"
    "  NAME: printed     CUPS reports the job completed\n"
    "\n"
    "  --printer NAME    the CUPS queue (see \"sbtool printers\")\n"
    "\n"
    "exit codes: 0 printed, 1 not printed (CUPS not running, no such printer, printer not\n"
    "            connected, the job failed or ran past the ten seconds), 2 the command line is wrong\n";

int runPrint(const QStringList& args)
{
    OptionReader options(args);
    QString printer;
    const bool hasPrinter = options.take(QStringLiteral("--printer"), &printer);
    if (!options.error().isEmpty())
        return usageError("print", options.error());
    if (!hasPrinter)
        return usageError("print", QStringLiteral("--printer NAME is required"));
    const QStringList rest = options.rest();
    if (rest.isEmpty())
        return usageError("print", QStringLiteral("no FILE to print"));
    if (rest.size() > 1)
        return usageError("print", QStringLiteral("unexpected argument \"%1\"").arg(rest.at(1)));

    QByteArray receipt;
    QString error;
    if (!readFile(rest.first(), &receipt, &error))
        return fail(error);
    if (receipt.isEmpty())
        return fail(QStringLiteral("%1 is empty: there is nothing to print").arg(rest.first()));
    return printReceipt(printer, receipt);
}

}  // namespace

const Command printCommand = {"print", "print receipt bytes on a CUPS printer", usageText, runPrint};

}  // namespace sbtool
