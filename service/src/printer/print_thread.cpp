#include "printer/print_thread_p.h"

#include "printer/dispatch_log_p.h"
#include "service_business/printer.h"

#include <QString>

#include <chrono>

namespace service_business {

using namespace utility_business;
using systemif::print::JobOutcome;
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

const char* outcomeText(JobOutcome outcome)
{
    switch (outcome) {
    case JobOutcome::Printed: return "printed";
    case JobOutcome::Failed: return "failed";
    case JobOutcome::Unconfirmed: break;
    }
    return "sent to the printer but not confirmed";
}

// The outcome of a write to a USB device: a write that failed after it began may have printed a part.
PrintJobSlot::Report deviceReport(bool written, const PrintJobSlot& slot)
{
    PrintJobSlot::Report report;
    if (written) {
        report.outcome = JobOutcome::Printed;
        report.reason = QStringLiteral("the printer took the whole job");
    } else if (slot.begunWriting()) {
        report.outcome = JobOutcome::Unconfirmed;
        report.reason = QStringLiteral("the printer stopped taking the job part-way");
    } else {
        report.outcome = JobOutcome::Failed;
        report.reason = QStringLiteral("the printer could not be reached");
    }
    return report;
}

// A job that the printer says it cannot print now (out of paper, cover open, offline, its queue paused or
// rejecting) fails before anything is sent, so that nothing of it can print later. A spooler printer that
// is not connected is left to its print path, which drops the job unheard.
std::optional<PrintJobSlot::Report> refusedByThePrinter(const PrinterInfo& info)
{
    const bool spooler =
        info.type == utility_enum::PRINTER_SYSTEM_LOCAL || info.type == utility_enum::PRINTER_SYSTEM_NETWORK;
    const bool device = info.type == utility_enum::PRINTER_LIBUSB || info.type == utility_enum::PRINTER_USB_PRINT_SUPPORT;
    if (!(spooler && info.connected) && !device) return std::nullopt;
    const PrinterStatus status = Printer::printerStatus(info);
    if (!status.blocksPrinting()) return std::nullopt;
    PrintJobSlot::Report report;
    report.outcome = JobOutcome::Failed;
    report.reason = QStringLiteral("not sent: the printer is %1: %2")
                        .arg(PrinterStatus::stateName(status.state), status.reason);
    return report;
}

// A job the printer took is printed only if the printer itself reports no trouble after it: paper that ran
// out (or a cover opened) during the job may have cut it short.
PrintJobSlot::Report checkedAfterJob(const PrinterInfo& info, PrintJobSlot::Report report)
{
    if (report.outcome != JobOutcome::Printed) return report;
    const PrinterStatus status = Printer::printerStatus(info);
    if (status.source != PrinterStatus::Source::Printer || !status.blocksPrinting()) return report;
    report.outcome = JobOutcome::Unconfirmed;
    report.reason = QStringLiteral("the printer is %1 after the job (%2): it may be partly printed")
                        .arg(PrinterStatus::stateName(status.state), status.reason);
    return report;
}

}  // namespace

void tellOutcome(const PrintItem& item, const PrintJobSlot::Report& report)
{
    dispatch_log::message(__LINE__, QStringLiteral("print job [%1] on printer [%2], spooler job [%3]: %4: %5")
                                        .arg(item.number)
                                        .arg(item.info.id)
                                        .arg(report.jobId)
                                        .arg(QLatin1String(outcomeText(report.outcome)), report.reason));
    if (item.watch.done) item.watch.done(PrintResult{report.outcome, report.jobId, report.reason});
}

PrintThread::PrintThread(int printerId) : busySince(kNotBusy)
{
    // The system's name of the thread (top -H, debuggers, crash reports).
    setObjectName(QStringLiteral("print worker %1").arg(printerId));
}

PrintThread::~PrintThread() = default;

bool PrintThread::push(const PrintItem& item)
{
    int size = 0;
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (printList.size() >= capacity) return false;
        printList.append(item);
        size = printList.size();
        wake = idle;
    }
    // A busy worker finds the job when it comes back for the next one: waking it costs more than the job.
    if (wake) queued.notify_one();
    dispatch_log::message(__LINE__, QStringLiteral("push print item to order list, list size: %1").arg(size));
    return true;
}

void PrintThread::adopt(const QList<PrintItem>& items)
{
    std::lock_guard<std::mutex> lock(mutex);
    printList = items;
}

bool PrintThread::isPrinting() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return frontStarted;
}

bool PrintThread::isOverdue(qint64 limitMs) const
{
    const qint64 since = busySince.load();
    return since != kNotBusy && since + limitMs < monotonicMs();
}

std::optional<PrintItem> PrintThread::itemOf(quint64 number) const
{
    std::lock_guard<std::mutex> lock(mutex);
    for (const PrintItem& item : printList)
        if (item.number == number) return item;
    return std::nullopt;
}

PrintThread::Taken PrintThread::cancelPrintCurrentOrder()
{
    dispatch_log::entry(__LINE__, "service_business::PrintThread::cancelPrintCurrentOrder");
    return retire();
}

PrintThread::Taken PrintThread::cancelAllAndStop()
{
    dispatch_log::entry(__LINE__, "service_business::PrintThread::cancelAllAndStop");
    return retire();
}

PrintThread::Taken PrintThread::retire()
{
    Taken taken;
    {
        std::lock_guard<std::mutex> lock(mutex);
        retired = true;
        if (frontStarted && !printList.isEmpty()) taken.current = printList.takeFirst();
        taken.queued = printList;
        printList.clear();
        frontStarted = false;
    }
    busySince = kNotBusy;
    queued.notify_all();
    return taken;
}

void PrintThread::run()
{
    PrintItem item;
    while (nextJob(item)) {
        {
            PrintJobSlot::Binding binding(*item.slot);
            print(item);
        }
        popFront();
    }
}

bool PrintThread::nextJob(PrintItem& item)
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        // A new turn, also while idle: only a job that prints holds it back.
        busySince = monotonicMs();
        if (retired) return false;
        // A job cancelled while it waited has been told by whoever cancelled it.
        while (!printList.isEmpty() && printList.first().slot->claimed()) printList.removeFirst();
        if (!printList.isEmpty()) {
            item = printList.first();
            frontStarted = true;
            return true;
        }
        idle = true;
        queued.wait_for(lock, kIdlePoll);
        idle = false;
    }
}

void PrintThread::print(const PrintItem& item)
{
    // Tells the outcome unless the job was given up meanwhile (whoever gave it up tells it then).
    auto tell = [&item](const PrintJobSlot::Report& report) {
        if (item.slot->claimReport(report)) tellOutcome(item, report);
    };
    if (const std::optional<PrintJobSlot::Report> refused = refusedByThePrinter(item.info)) {
        tell(*refused);
        return;
    }
    switch (item.info.type) {
    case utility_enum::PRINTER_SYSTEM_LOCAL:
    case utility_enum::PRINTER_SYSTEM_NETWORK:
        // Told when the spooler says how the job ended, with what the print services found out; a printer
        // that is not connected is not sent the job, and its caller is not told.
        item.slot->setHandedOver(item.watch.handedOver);
        Printer::printDocBySysPrinter(item.info, item.doc, [&item](int, const QString&, bool) {
            tellOutcome(item, checkedAfterJob(item.info, item.slot->report()));
        });
        break;
    case utility_enum::PRINTER_LIBUSB: {
        tell(checkedAfterJob(item.info, deviceReport(Printer::printDocByUsbPrinter(item.info, item.doc), *item.slot)));
        break;
    }
    case utility_enum::PRINTER_USB_PRINT_SUPPORT: {
        dispatch_log::message(__LINE__, "print order by usb print support printer");
        tell(checkedAfterJob(
            item.info, deviceReport(systemif::print::PrintServics::printByUsbPrintSupportPrinter(item.doc, item.info.model),
                                    *item.slot)));
        break;
    }
    default:
        break;  // no way to print it
    }
}

void PrintThread::popFront()
{
    int size = 0;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (retired || printList.isEmpty()) return;
        printList.removeFirst();
        size = printList.size();
        frontStarted = false;
    }
    dispatch_log::message(__LINE__, QStringLiteral("pop front print item, print list size: %1").arg(size));
}

}  // namespace service_business
