#pragma once
// Printing receipt bytes on a CUPS queue through the service's print dispatch, as the client prints: shared
// by "sbtool print" and "sbtool format --print".

#include <QByteArray>
#include <QString>

namespace sbtool {

// Looks the queue up in CUPS, queues the receipt through print dispatch and waits for the outcome, writing
// each state on standard output as it comes ("NAME: queued", "NAME: sent as CUPS job N", "NAME: printed",
// and while a printer keeps the job waiting, "NAME: sent as CUPS job N, waiting S s"). ExitOk once printed;
// ExitFailure, with one line on standard error, when CUPS cannot be reached, has no such queue, the printer
// is not connected, or the job did not print: "failed" (it never will), or "sent to the printer but not
// confirmed" (it was given up while on its way and may still come out). Ctrl-C or SIGTERM cancel the job
// at CUPS and end the same way.
int printReceipt(const QString& printerName, const QByteArray& receipt);

// Whether the CUPS scheduler answers; when it does not, error is set to the line that says so.
bool cupsAnswers(QString* error);

}  // namespace sbtool
