#include "service_business/print_manager.h"

#include "printer/dispatch_log_p.h"
#include "printer/dispatch_timing_p.h"
#include "printer/job_closer_p.h"
#include "printer/print_thread_p.h"
#include "printer/print_timeout_monitor_p.h"
#include "service_business/printer.h"

#include "systemif/print_backend.h"

#include <QDeadlineTimer>
#include <QString>

#include <atomic>
#include <chrono>

namespace service_business {

using namespace utility_business;

namespace {

const std::chrono::seconds kExitWait(2);  // how long the manager's end waits for threads still in a call

std::atomic<quint64> g_lastJob{0};

QString givenUpAfter(qint64 limitMs)
{
    return QStringLiteral("given up after %1 s").arg(limitMs / 1000.0);
}

// Deletes the retired workers whose threads have ended; the others stay for a later look.
void reap(QList<PrintThread*>& retired)
{
    for (auto it = retired.begin(); it != retired.end();) {
        if (!(*it)->isFinished()) {
            ++it;
            continue;
        }
        delete *it;
        it = retired.erase(it);
    }
}

}  // namespace

PrintManager::PrintManager()
{
    // The print services are made before the manager, so that they are still there at exit when the
    // manager's destructor cancels the jobs under way.
    systemif::print::printBackend();
    monitor = new PrintTimeoutMonitor(this);
    monitor->start(QThread::InheritPriority);
}

PrintManager::~PrintManager()
{
    delete monitor;  // first: a look of the watchdog takes the mutex below
    QList<PrintItem> stopped;
    QList<PrintThread*> workers;
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (PrintThread* worker : qAsConst(threads)) {
            PrintThread::Taken taken = worker->cancelAllAndStop();
            if (taken.current) stopped << *taken.current;
            stopped += taken.queued;
            retired << worker;
        }
        threads.clear();
        workers = retired;
        retired.clear();
    }
    job_closer::giveUp(stopped, QStringLiteral("the client is ending"));
    const QDeadlineTimer deadline(std::chrono::duration_cast<std::chrono::milliseconds>(kExitWait).count());
    job_closer::waitUntilIdle(std::chrono::milliseconds(deadline.remainingTime()));
    for (PrintThread* worker : qAsConst(workers)) {
        // A thread still in a call to a printer or the spooler cannot be deleted; it ends with the process.
        if (worker->wait(deadline)) delete worker;
    }
}

bool stopDispatchForTesting(int timeoutMs)
{
    PrintManager::printerHasChanged({});
    const QDeadlineTimer deadline(timeoutMs);
    if (!job_closer::waitUntilIdle(std::chrono::milliseconds(deadline.remainingTime()))) return false;
    PrintManager* manager = PrintManager::instancePrintManager();
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(manager->mutex);
            reap(manager->retired);
            if (manager->retired.isEmpty()) return true;
        }
        if (deadline.hasExpired()) return false;
        QThread::msleep(5);
    }
}

PrintManager* PrintManager::instancePrintManager()
{
    static PrintManager manager;
    return &manager;
}

void PrintManager::printOrder(const PrinterInfo& printer_info, const QByteArray& print_cmd,
                              const std::function<void(bool)>& callback)
{
    PrintManager* manager = instancePrintManager();
    dispatch_log::entry(__LINE__, "service_business::PrintManager::printOrder", printer_info.toJson());
    manager->printSlot(printer_info, print_cmd, callback);
}

quint64 PrintManager::submit(const PrinterInfo& printer_info, const QByteArray& print_cmd, const PrintJobWatch& watch)
{
    PrintManager* manager = instancePrintManager();
    dispatch_log::entry(__LINE__, "service_business::PrintManager::submit", printer_info.toJson());
    return manager->queue(printer_info, print_cmd, watch);
}

bool PrintManager::cancel(quint64 job)
{
    PrintManager* manager = instancePrintManager();
    std::optional<PrintItem> item;
    {
        std::lock_guard<std::mutex> lock(manager->mutex);
        for (PrintThread* worker : qAsConst(manager->threads))
            if ((item = worker->itemOf(job))) break;
    }
    // Claimed here, so that the answer is true exactly when this cancel is the one that ends the job.
    if (!item || !item->slot->claim()) return false;
    job_closer::giveUpClaimed({*item}, QStringLiteral("cancelled"));
    return true;
}

bool PrintManager::isPrinting(int printerId)
{
    PrintManager* manager = instancePrintManager();
    std::lock_guard<std::mutex> lock(manager->mutex);
    const PrintThread* worker = manager->threads.value(printerId);
    return worker && worker->isPrinting();
}

void PrintManager::printerHasChanged(const QMap<int, int>& new_and_old_printer_id_map)
{
    instancePrintManager()->printerHasChangedSlot(new_and_old_printer_id_map);
}

void PrintManager::printSlot(const PrinterInfo& printer_info, const QByteArray& print_cmd,
                             const std::function<void(bool)>& callback)
{
    PrintJobWatch watch;
    if (callback) watch.done = [callback](const PrintResult& result) {
        callback(result.outcome == systemif::print::JobOutcome::Printed);
    };
    queue(printer_info, print_cmd, watch);
}

quint64 PrintManager::queue(const PrinterInfo& printer_info, const QByteArray& print_cmd, const PrintJobWatch& watch)
{
    // Converted before the lock is taken: it is the slow part of accepting a job.
    const PrintItem item{printer_info, Printer::buildDocument(print_cmd), watch,
                         std::make_shared<systemif::print::PrintJobSlot>(), ++g_lastJob};
    std::lock_guard<std::mutex> lock(mutex);
    PrintThread* worker = threads.value(printer_info.id);
    if (!worker) {
        worker = new PrintThread(printer_info.id);
        threads.insert(printer_info.id, worker);
        worker->start(QThread::InheritPriority);
        dispatch_log::message(__LINE__, QStringLiteral("create printer [%1] work thread [%2]")
                                            .arg(printer_info.id)
                                            .arg(dispatch_log::address(worker)));
    }
    worker->push(item);
    dispatch_log::message(__LINE__,
                          QStringLiteral("push print cmd to thread [%1]").arg(dispatch_log::address(worker)));
    return item.number;
}

void PrintManager::printerHasChangedSlot(const QMap<int, int>& new_and_old_printer_id_map)
{
    QList<PrintItem> stopped;
    {
        std::lock_guard<std::mutex> lock(mutex);
        const QList<int> oldIds = new_and_old_printer_id_map.values();
        for (auto it = threads.begin(); it != threads.end();) {
            if (oldIds.contains(it.key())) {
                ++it;
                continue;
            }
            PrintThread::Taken taken = it.value()->cancelAllAndStop();
            if (taken.current) stopped << *taken.current;
            stopped += taken.queued;
            retired << it.value();
            it = threads.erase(it);
        }
        QMap<int, PrintThread*> rekeyed;
        for (auto it = new_and_old_printer_id_map.cbegin(); it != new_and_old_printer_id_map.cend(); ++it) {
            PrintThread* worker = threads.value(it.value());
            // A worker is filed once: were two new ids mapped to one old id, the first keeps it and the
            // other gets a worker of its own with its first job.
            if (worker && !rekeyed.values().contains(worker)) rekeyed.insert(it.key(), worker);
        }
        threads = rekeyed;
    }
    job_closer::giveUp(stopped, QStringLiteral("its printer went away"));
}

void PrintManager::checkoutPrinterTimeout()
{
    const qint64 limitMs = dispatchTiming().jobLimitMs;
    QList<PrintItem> overdue;
    {
        std::lock_guard<std::mutex> lock(mutex);
        reap(retired);
        for (auto it = threads.begin(); it != threads.end(); ++it) {
            PrintThread* worker = it.value();
            if (!worker->isOverdue(limitMs)) continue;
            PrintThread::Taken taken = worker->cancelPrintCurrentOrder();
            if (taken.current) overdue << *taken.current;
            retired << worker;
            // The rest of the queue goes on at once, without waiting for the old thread to come back.
            PrintThread* fresh = new PrintThread(it.key());
            fresh->adopt(taken.queued);
            it.value() = fresh;
            fresh->start(QThread::InheritPriority);
            dispatch_log::message(__LINE__, QStringLiteral("create printer [%1] work thread [%2]")
                                                .arg(it.key())
                                                .arg(dispatch_log::address(fresh)));
        }
    }
    job_closer::giveUp(overdue, givenUpAfter(limitMs));
}

}  // namespace service_business
