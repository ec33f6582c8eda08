// sbtool status: one printer's status, as the printer's queue or the printer itself tells it, once or as it
// changes.

#include "commands.h"

#include "service_business/printer.h"
#include "service_business/printer_manager.h"

#include <QThread>

#include <csignal>
#include <cstdio>

namespace sbtool {
namespace {

using service_business::Printer;
using service_business::PrinterStatus;
using utility_business::PrinterInfo;

const char usageText[] =
    "usage: sbtool status PRINTER [--watch [--interval SECONDS]]\n"
    "\n"
    "Shows what the printer named PRINTER (a name of \"sbtool printers\") says of itself now:\n"
    "\n"
    "  NAME: STATE (SOURCE): REASON\n"
    "\n"
    "SOURCE is \"queue\" (its CUPS queue), \"printer\" (the printer's own answer to a status request,\n"
    "or the USB port status) or \"none\". STATE is one of\n"
    "  ready            it can print\n"
    "  paper-near-end   it can print; put in a new roll soon\n"
    "  paper-out        put in paper\n"
    "  cover-open       close the cover\n"
    "  offline          it says it is offline: see its panel, switch it off and on\n"
    "  error            it reports an error (a cutter jam, overheating): see its panel\n"
    "  paused           its CUPS queue is paused: cupsenable PRINTER\n"
    "  rejecting        its CUPS queue rejects jobs: cupsaccept PRINTER\n"
    "  unreachable      nothing answers where it should be: power, cable, network address\n"
    "  unknown          it does not answer status requests (it may well print)\n"
    "Jobs to a printer that is paper-out, cover-open, offline, in error, paused or rejecting fail at\n"
    "once, before anything is sent.\n"
    "\n"
    "  --watch             follow it: a line each time it changes, until Ctrl-C\n"
    "  --interval SECONDS  how often --watch reads it (default 2)\n"
    "\n"
    "exit codes: 0 done, 1 no such printer, 2 the command line is wrong\n";

volatile std::sig_atomic_t g_stop = 0;

void show(const QString& name, const PrinterStatus& status)
{
    std::printf("%s: %s (%s): %s\n", name.toUtf8().constData(),
                PrinterStatus::stateName(status.state).toUtf8().constData(),
                PrinterStatus::sourceName(status.source).toUtf8().constData(), status.reason.toUtf8().constData());
    std::fflush(stdout);
}

int runStatus(const QStringList& args)
{
    OptionReader options(args);
    const bool watch = options.takeFlag(QStringLiteral("--watch"));
    QString intervalText = QStringLiteral("2");
    const bool hasInterval = options.take(QStringLiteral("--interval"), &intervalText);
    if (!options.error().isEmpty())
        return usageError("status", options.error());
    bool ok = false;
    const int interval = intervalText.toInt(&ok);
    if (!ok || interval < 1 || interval > 3600)
        return usageError("status", QStringLiteral("--interval must be 1 to 3600 seconds, not \"%1\"").arg(intervalText));
    if (hasInterval && !watch)
        return usageError("status", QStringLiteral("--interval goes with --watch"));
    const QStringList rest = options.rest();
    if (rest.size() != 1)
        return usageError("status", rest.isEmpty() ? QStringLiteral("no PRINTER given")
                                                   : QStringLiteral("unexpected argument \"%1\"").arg(rest.at(1)));

    PrinterInfo printer;
    bool found = false;
    for (const PrinterInfo& candidate : service_business::PrinterManager::collectPrinters())
        if (!found && candidate.name.compare(rest.first(), Qt::CaseInsensitive) == 0) {
            printer = candidate;
            found = true;
        }
    if (!found)
        return fail(QStringLiteral("no printer \"%1\" (see \"sbtool printers\")").arg(rest.first()));

    PrinterStatus shown = Printer::printerStatus(printer);
    show(printer.name, shown);
    if (!watch)
        return ExitOk;
    std::signal(SIGINT, [](int) { g_stop = 1; });
    std::signal(SIGTERM, [](int) { g_stop = 1; });
    while (!g_stop) {
        for (int waited = 0; waited < interval * 10 && !g_stop; ++waited) QThread::msleep(100);
        if (g_stop) break;
        const PrinterStatus now = Printer::printerStatus(printer);
        if (!now.sameAs(shown)) show(printer.name, now);
        shown = now;
    }
    return ExitOk;
}

}  // namespace

const Command statusCommand = {"status", "show one printer's status, once or as it changes", usageText, runStatus};

}  // namespace sbtool
