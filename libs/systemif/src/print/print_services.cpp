#include "systemif/print.h"
#include "systemif/print_backend.h"

#include "port_names_p.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace systemif {
namespace print {

namespace {

// A raw job usually ends within a few tens of milliseconds: polls start often and slow down to the
// longest interval for jobs that wait on their printer.
const std::chrono::milliseconds kFirstPollInterval(10);
const std::chrono::milliseconds kLongestPollInterval(100);

bool printerRecords(QList<PRINTER_INFO_2W>& records)
{
    QList<SpoolerQueue> queues;
    if (!printBackend().spooler->queues(queues)) return false;
    const QStringList ports = portNames(queues);
    for (int i = 0; i < queues.size(); ++i) {
        PRINTER_INFO_2W record;
        record.pPrinterName = queues[i].name;
        record.pDriverName = queues[i].makeAndModel;
        record.pPortName = ports[i];
        if (queues[i].stopped || !queues[i].acceptingJobs) record.Attributes |= PRINTER_ATTRIBUTE_WORK_OFFLINE;
        records << record;
    }
    return true;
}

QString serialDeviceOfPort(const QString& portName)
{
    QList<SpoolerQueue> queues;
    if (!printBackend().spooler->queues(queues)) return {};
    return serialDevice(queues, portName.section(QLatin1Char(':'), 0, 0));
}

}  // namespace

bool PrintServics::queryPrinterInfo2(const QString& name, PRINTER_INFO_2W*& info)
{
    info = nullptr;
    QList<PRINTER_INFO_2W> records;
    if (!printerRecords(records)) return false;
    for (const PRINTER_INFO_2W& record : records) {
        if (record.pPrinterName.compare(name, Qt::CaseInsensitive) == 0) {
            info = new PRINTER_INFO_2W(record);
            return true;
        }
    }
    return false;
}

void PrintServics::freePrinterInfo2(PRINTER_INFO_2W*& info)
{
    delete info;
    info = nullptr;
}

bool PrintServics::printerInfo2List(int& count, PRINTER_INFO_2W*& infos)
{
    count = 0;
    infos = nullptr;
    QList<PRINTER_INFO_2W> records;
    if (!printerRecords(records)) return false;
    if (records.isEmpty()) return true;
    infos = new PRINTER_INFO_2W[static_cast<size_t>(records.size())];
    for (const PRINTER_INFO_2W& record : records) infos[count++] = record;
    return true;
}

void PrintServics::freePrinterInfo2List(PRINTER_INFO_2W*& infos)
{
    delete[] infos;
    infos = nullptr;
}

bool PrintServics::isVirtualCOMPort(const QString& portName, const QString& /*usbEnumKey*/)
{
    const QString device = serialDeviceOfPort(portName);
    return !device.isEmpty() && printBackend().serialPorts->isUsbDevice(device);
}

bool PrintServics::isVirtualCOMPortConnected(const QString& portName)
{
    const QString device = serialDeviceOfPort(portName);
    return !device.isEmpty() && printBackend().serialPorts->isPresent(device);
}

int PrintServics::printBySystemPrinter(const QString& printerName, const QString& docName, const Document& doc,
                                       const JobCallback& callback)
{
    PrintJobSlot* slot = PrintJobSlot::current();
    int jobId = 0;
    std::unique_ptr<SpoolerJob> job;
    // Tells the outcome unless the job has been given up meanwhile, with what the printer's side said.
    auto report = [&](JobOutcome outcome, const char* reason) {
        PrintJobSlot::Report told;
        told.outcome = outcome;
        told.jobId = jobId;
        told.reason = QString::fromLatin1(reason);
        if (job && !job->message().isEmpty()) told.reason += QStringLiteral(" (") + job->message() + QLatin1Char(')');
        if (slot && !slot->claimReport(told)) return;
        if (callback) callback(jobId, printerName, outcome == JobOutcome::Printed);
    };
    Spooler* spooler = printBackend().spooler;
    job = doc.size() > 0 ? spooler->createJob(printerName, docName) : nullptr;
    if (!job) {
        report(JobOutcome::Failed, doc.size() > 0 ? "the spooler did not take the job" : "nothing to print");
        return 0;
    }
    jobId = job->id();
    // Held until its document is there in full: a job given up now (or one whose document is cut off)
    // can never print, whatever the spooler does later.
    if (slot && !slot->publish(spooler, printerName, jobId)) return jobId;
    if (!job->send(doc)) {
        spooler->cancel(printerName, jobId);
        report(JobOutcome::Failed, "the spooler did not take the whole document");
        return jobId;
    }
    if (slot && !slot->advance(PrintJobSlot::Stage::Released)) return jobId;
    // Unanswered, the release may still have been done: the job is watched as if it had.
    job->release();
    std::chrono::milliseconds interval = kFirstPollInterval;
    for (;; interval = std::min(interval * 2, kLongestPollInterval)) {
        switch (job->state()) {
        case SpoolerJobState::Completed:
            report(JobOutcome::Printed, "the printer took the whole job");
            return jobId;
        case SpoolerJobState::Failed:
            report(JobOutcome::Failed, "the spooler ended the job before it printed");
            return jobId;
        case SpoolerJobState::Interrupted:
            report(JobOutcome::Unconfirmed, "the spooler ended the job while it was being sent to the printer");
            return jobId;
        case SpoolerJobState::Stopped:
            // Cancelled, so that it does not print when the queue is started again after the caller has
            // been told it failed. Unanswered, the job stays in doubt like any other.
            switch (spooler->cancel(printerName, jobId)) {
            case SpoolerCancel::Cancelled:
                report(JobOutcome::Failed, "its queue is stopped: cancelled before it printed");
                return jobId;
            case SpoolerCancel::CancelledWhilePrinting:
                report(JobOutcome::Unconfirmed, "its queue was stopped while the job was being sent to the printer");
                return jobId;
            case SpoolerCancel::AlreadyCompleted:
                report(JobOutcome::Printed, "the printer took the whole job");
                return jobId;
            case SpoolerCancel::Failed:
                break;
            }
            break;
        case SpoolerJobState::Unknown:
        case SpoolerJobState::Pending:
        case SpoolerJobState::Processing:
            // A spooler that does not answer keeps the job in doubt: only giving it up ends the wait.
            break;
        }
        if (slot && slot->claimed()) return jobId;
        std::this_thread::sleep_for(interval);
    }
}

bool PrintServics::queueState(const QString& name, QueueState& state)
{
    QList<SpoolerQueue> queues;
    if (!printBackend().spooler->queues(queues)) return false;
    for (const SpoolerQueue& queue : queues) {
        if (queue.name.compare(name, Qt::CaseInsensitive) != 0) continue;
        state.stopped = queue.stopped;
        state.acceptingJobs = queue.acceptingJobs;
        state.reasons = queue.stateReasons;
        state.message = queue.stateMessage;
        state.deviceUri = queue.deviceUri;
        return true;
    }
    return false;
}

PrinterAnswer PrintServics::askPrinterStatus(const QString& host, int port)
{
    return printBackend().statusLink->ask(host, port);
}

bool PrintServics::libusbPortStatus(const UsbDevice& device, unsigned char* status)
{
    return printBackend().usbBus->portStatus(device, status);
}

bool PrintServics::usbPrintSupportPortStatus(const QString& model, unsigned char* status)
{
    return printBackend().usbPrintSupport->portStatus(model, status);
}

QList<UsbDevice> PrintServics::allUsbDevice()
{
    return printBackend().usbBus->devices();
}

QList<UsbDevice> PrintServics::allUsbPrinter()
{
    QList<UsbDevice> printers;
    for (const UsbDevice& device : allUsbDevice())
        if (device.hasPrinterInterface) printers << device;
    return printers;
}

bool PrintServics::beginWriting()
{
    PrintJobSlot* slot = PrintJobSlot::current();
    return !slot || slot->advance(PrintJobSlot::Stage::Writing);
}

bool PrintServics::libusbPrint(const Document& doc, const UsbDevice* device)
{
    return device && beginWriting() && printBackend().usbBus->write(*device, doc);
}

QStringList PrintServics::collectUsbPrintSupportPrinters()
{
    return printBackend().usbPrintSupport->printers();
}

bool PrintServics::printByUsbPrintSupportPrinter(const Document& doc, const QString& model)
{
    return beginWriting() && printBackend().usbPrintSupport->write(model, doc);
}

}  // namespace print
}  // namespace systemif
