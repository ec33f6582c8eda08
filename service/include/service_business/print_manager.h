#pragma once
// Print dispatch: each printer id has a worker thread of its own that prints the jobs queued for it, one
// after another, and tells each job's caller how it ended. A watchdog kills a job that has been printing
// for more than ten seconds (its caller hears false, and a spooler job is cancelled so that it never
// prints late) and lets the worker go on with the rest of its queue.
//
//   PrintManager::printOrder(printer, print_cmd_formater::formatOrder(...), [](bool printed) { ... });
//
// Callbacks are called on the worker's thread, or on the watchdog's or the caller's thread for a job that
// is cancelled, never with a lock of print dispatch held; a callback may queue another job.

#include "service_business/export.h"

#include "utility_business/utility_structs.h"

#include <QByteArray>
#include <QMap>
#include <QObject>

#include <functional>
#include <mutex>

namespace service_business {

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
    // Follows a change of printer ids (new id -> old id): each worker moves to the new id of its printer
    // with its queue; the workers of printers that have no new id are stopped, each of their jobs false.
    static void printerHasChanged(const QMap<int, int>& new_and_old_printer_id_map);

    // One look of the watchdog: kills and restarts the workers whose job is overdue.
    void checkoutPrinterTimeout();

    // Stops the watchdog and every worker; the jobs still queued are told false.
    ~PrintManager() override;

public slots:
    void printSlot(const utility_business::PrinterInfo& printer_info, const QByteArray& print_cmd,
                   const std::function<void(bool)>& callback);
    void printerHasChangedSlot(const QMap<int, int>& new_and_old_printer_id_map);

protected:
    // The process-wide manager, made on first use and destroyed at exit.
    static PrintManager* instancePrintManager();

private:
    PrintManager();

    // Lock order: PrinterManager's printers lock, then this mutex, then a worker's queue mutex.
    std::mutex mutex;                  // guards threads
    QMap<int, PrintThread*> threads;   // the worker of each printer id; owned
    PrintTimeoutMonitor* monitor;      // a child; runs from construction until the destructor
};

}  // namespace service_business
