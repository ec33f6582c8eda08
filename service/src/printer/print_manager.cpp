#include "service_business/print_manager.h"

#include "printer/dispatch_log.h"
#include "printer/dispatch_timing.h"
#include "printer/print_thread.h"
#include "printer/print_timeout_monitor.h"
#include "service_business/printer.h"

#include "systemif/print_backend.h"

#include <QString>

namespace service_business {

using namespace utility_business;

namespace {

void tell(const PrintReports& reports)
{
    for (const PrintReport& report : reports)
        if (report.callback) report.callback(report.ok);
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
    PrintReports reports;
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (PrintThread* worker : qAsConst(threads)) {
            reports += worker->cancelAllAndStop();
            delete worker;
        }
        threads.clear();
    }
    tell(reports);
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

void PrintManager::printerHasChanged(const QMap<int, int>& new_and_old_printer_id_map)
{
    instancePrintManager()->printerHasChangedSlot(new_and_old_printer_id_map);
}

void PrintManager::printSlot(const PrinterInfo& printer_info, const QByteArray& print_cmd,
                             const std::function<void(bool)>& callback)
{
    // Converted before the lock is taken: it is the slow part of accepting a job.
    const PrintItem item{printer_info, Printer::buildDocument(print_cmd), callback};
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
}

void PrintManager::printerHasChangedSlot(const QMap<int, int>& new_and_old_printer_id_map)
{
    PrintReports reports;
    {
        std::lock_guard<std::mutex> lock(mutex);
        const QList<int> oldIds = new_and_old_printer_id_map.values();
        for (auto it = threads.begin(); it != threads.end();) {
            if (oldIds.contains(it.key())) {
                ++it;
                continue;
            }
            reports += it.value()->cancelAllAndStop();
            delete it.value();
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
    tell(reports);
}

void PrintManager::checkoutPrinterTimeout()
{
    const qint64 limitMs = dispatchTiming().jobLimitMs;
    PrintReports reports;
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (PrintThread* worker : qAsConst(threads))
            if (worker->isOverdue(limitMs)) reports += worker->cancelPrintCurrentOrder();
    }
    tell(reports);
}

}  // namespace service_business
