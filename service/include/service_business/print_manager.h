#pragma once
// Print dispatch: each printer id has a worker thread of its own that prints the jobs queued for it, one
// after another, and tells each job's caller how it ended. A watchdog gives up a job that has been
// printing for more than ten seconds and lets the rest of the queue go on at once on a new worker.
//
//   PrintManager::printOrder(printer, print_cmd_formater::formatOrder(...), [](bool printed) { ... });
//
// What "printed" means: true when the printer took every byte of the job (the spooler completed it, or
// the USB device took the write). false otherwise, and then the job either can never print (it never
// reached the printer, or it was cancelled at the spooler before it began), or it was given up while its
// bytes were on their way to the printer and may still come out: "sent to the printer but not confirmed".
// submit() tells the two apart (PrintResult), and the job's outcome record in the log says which.
// A job that is given up (watchdog, printer change, cancel) is cancelled at the spooler before its
// caller hears false; while the spooler does not answer, the caller hears false as unconfirmed and the
// cancel is tried again until it takes.
//
// Threads: printOrder and the other calls never wait for a printer, the spooler or a callback; they take
// one short lock. Callbacks are called on the worker's thread, or on a thread of print dispatch's own for
// a job that is given up, never with a lock of print dispatch held: a callback may call any function
// here. A callback that does not return holds up its own printer only: after ten seconds the watchdog
// lets the rest of that printer's queue go on on a new worker.

#include "service_business/export.h"

#include "systemif/print.h"
#include "utility_business/utility_structs.h"

#include <QByteArray>
#include <QMap>
#include <QObject>

#include <functional>
#include <mutex>

namespace service_business {

// How a job ended (JobOutcome: Printed, Failed, Unconfirmed) and why.
struct PrintResult {
    systemif::print::JobOutcome outcome = systemif::print::JobOutcome::Failed;
    int spoolerJobId = 0;  // the spooler's job id, 0 when the job never reached the spooler
    QString reason;        // for people: why it ended so
};

// What the caller of submit() hears of a job; either may be empty.
struct PrintJobWatch {
    std::function<void(int spoolerJobId)> handedOver;  // the job is at the spooler (spooler printers only)
    std::function<void(const PrintResult&)> done;      // once, with the outcome
};

class PrintThread;
class PrintTimeoutMonitor;

class SERVICE_BUSINESS_EXPORT PrintManager : public QObject {
    Q_OBJECT

public:
    // Queues the receipt bytes (print_cmd_formater) for printer_info.id, to be printed by the path of the
    // printer's type; the callback hears whether it printed. A queue holds 50 jobs: a job that finds it
    // full is dropped and its callback is never called. So is a job for a spooler printer whose record is
    // not `connected`, and a job for a printer of a type that cannot print.
    static void printOrder(const utility_business::PrinterInfo& printer_info, const QByteArray& print_cmd,
                           const std::function<void(bool)>& callback);
    // As printOrder, telling the job's outcome in full. Returns the job's number in this process (never 0),
    // for cancel.
    static quint64 submit(const utility_business::PrinterInfo& printer_info, const QByteArray& print_cmd,
                          const PrintJobWatch& watch);
    // Gives the job up as the watchdog does: a job not begun yet is dropped, one that prints is cancelled
    // at the spooler; its caller is told on a thread of print dispatch. False when the job has ended
    // already (or there is no such job).
    static bool cancel(quint64 job);
    // Whether the worker of the printer id is printing a job now.
    static bool isPrinting(int printerId);
    // Follows a change of printer ids (new id -> old id): each worker moves to the new id of its printer
    // with its queue; the workers of printers that have no new id are stopped, each of their jobs false.
    static void printerHasChanged(const QMap<int, int>& new_and_old_printer_id_map);

    // One look of the watchdog: gives up the jobs that are overdue, each printer's queue going on on a new
    // worker, and deletes the workers given up earlier whose threads have ended.
    void checkoutPrinterTimeout();

    // Stops the watchdog and every worker; the jobs still queued are told false. Threads that are still in
    // a call to a printer or the spooler are waited for a short while, then left to the process's exit.
    ~PrintManager() override;

public slots:
    void printSlot(const utility_business::PrinterInfo& printer_info, const QByteArray& print_cmd,
                   const std::function<void(bool)>& callback);
    void printerHasChangedSlot(const QMap<int, int>& new_and_old_printer_id_map);

protected:
    // The process-wide manager, made on first use and destroyed at exit.
    static PrintManager* instancePrintManager();

private:
    friend bool stopDispatchForTesting(int timeoutMs);
    PrintManager();

    quint64 queue(const utility_business::PrinterInfo& printer_info, const QByteArray& print_cmd,
                  const PrintJobWatch& watch);

    // Lock order: PrinterManager's printers lock, then this mutex, then a worker's queue mutex. Held only
    // for bookkeeping: never while waiting for a thread, the spooler, a printer or a callback.
    std::mutex mutex;                  // guards threads and retired
    QMap<int, PrintThread*> threads;   // the worker of each printer id; owned
    QList<PrintThread*> retired;       // workers given up whose threads may still run; owned
    PrintTimeoutMonitor* monitor;      // a child; runs from construction until the destructor
};

}  // namespace service_business
