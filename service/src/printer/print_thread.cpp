#include "printer/print_thread.h"

#include "printer/dispatch_log.h"
#include "printer/termination_scope.h"
#include "service_business/printer.h"

#include <QString>

#include <chrono>

namespace service_business {

using namespace utility_business;
using systemif::print::PrintJobSlot;

namespace {

const std::chrono::milliseconds kIdlePoll(50);
const qint64 kNotBusy = -1;

// Monotonic, so that a job's age neither wraps at midnight nor jumps with the wall clock.
qint64 monotonicMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

PrintThread::PrintThread(int printerId) : busySince(kNotBusy)
{
    // The system's name of the thread (top -H, debuggers, crash reports).
    setObjectName(QStringLiteral("print worker %1").arg(printerId));
}

bool PrintThread::push(const PrintItem& item)
{
    int size = 0;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (printList.size() >= capacity) return false;
        printList.append(item);
        size = printList.size();
    }
    queued.notify_one();
    dispatch_log::message(__LINE__, QStringLiteral("push print item to order list, list size: %1").arg(size));
    return true;
}

bool PrintThread::isOverdue(qint64 limitMs) const
{
    const qint64 since = busySince.load();
    return since != kNotBusy && since + limitMs < monotonicMs();
}

PrintReports PrintThread::cancelPrintCurrentOrder()
{
    dispatch_log::entry(__LINE__, "service_business::PrintThread::cancelPrintCurrentOrder");
    kill();
    PrintReports reports = takeKilledJob();
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = false;
    }
    busySince = kNotBusy;
    start(QThread::InheritPriority);
    return reports;
}

PrintReports PrintThread::cancelAllAndStop()
{
    dispatch_log::entry(__LINE__, "service_business::PrintThread::cancelAllAndStop");
    kill();
    PrintReports reports = takeKilledJob();
    PrintItem item;
    bool reported = false;
    while (takeFront(item, reported)) reports << PrintReport{item.callback, false};
    return reports;
}

void PrintThread::run()
{
    PrintJobSlot::Binding binding(jobSlot);
    // Termination is let in only while a job prints, never while the worker keeps its books or waits for
    // work, and not while the thread ends: a worker told to stop that is killed as well just ends.
    setTerminationEnabled(false);
    PrintItem item;
    while (nextJob(item)) {
        {
            TerminationScope allow(TerminationScope::Allow);
            print(item);
        }
        PrintItem done;
        bool reported = false;
        takeFront(done, reported);
    }
}

bool PrintThread::nextJob(PrintItem& item)
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        // A new turn, also while idle: only a job that prints holds it back.
        busySince = monotonicMs();
        if (stopping) return false;
        if (!printList.isEmpty()) {
            item = printList.first();
            frontStarted = true;
            return true;
        }
        queued.wait_for(lock, kIdlePoll);
    }
}

void PrintThread::print(const PrintItem& item)
{
    // Marks the job told before telling, so that a worker killed inside the callback is not told twice.
    auto report = [this, callback = item.callback](bool ok) {
        frontReported = true;
        if (callback) callback(ok);
    };
    switch (item.info.type) {
    case utility_enum::PRINTER_SYSTEM_LOCAL:
    case utility_enum::PRINTER_SYSTEM_NETWORK:
        // Told when the spooler says how the job ended; a printer that is not connected is not sent the
        // job, and its caller is not told.
        Printer::printDocBySysPrinter(item.info, item.doc,
                                      [report](int /*jobId*/, const QString& /*printer*/, bool done) { report(done); });
        break;
    case utility_enum::PRINTER_LIBUSB:
        report(Printer::printDocByUsbPrinter(item.info, item.doc));
        break;
    case utility_enum::PRINTER_USB_PRINT_SUPPORT:
        dispatch_log::message(__LINE__, "print order by usb print support printer");
        report(systemif::print::PrintServics::printByUsbPrintSupportPrinter(item.doc, item.info.model));
        break;
    default:
        break;  // no way to print it
    }
}

bool PrintThread::takeFront(PrintItem& item, bool& reported)
{
    int size = 0;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (printList.isEmpty()) return false;
        item = printList.takeFirst();
        size = printList.size();
        frontStarted = false;
        reported = frontReported.exchange(false);
        jobSlot.clear();
    }
    dispatch_log::message(__LINE__, QStringLiteral("pop front print item, print list size: %1").arg(size));
    return true;
}

void PrintThread::kill()
{
    bool printing = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
        printing = frontStarted;
    }
    queued.notify_all();
    // A worker that is not printing now never begins another job, so it ends by itself. One that is
    // printing dies where its job waits, and unwinds.
    if (printing) terminate();
    wait();
}

PrintReports PrintThread::takeKilledJob()
{
    // Before the job leaves the queue: its spooler job must not print after its caller was told false.
    const PrintJobSlot::Outcome outcome = jobSlot.cancel();
    {
        // A job the worker had not begun stays queued for the next worker.
        std::lock_guard<std::mutex> lock(mutex);
        if (!frontStarted) {
            jobSlot.clear();
            return {};
        }
    }
    PrintItem item;
    bool reported = false;
    if (!takeFront(item, reported) || reported || outcome == PrintJobSlot::Outcome::AlreadyReported) return {};
    return {PrintReport{item.callback, outcome == PrintJobSlot::Outcome::Completed}};
}

}  // namespace service_business
