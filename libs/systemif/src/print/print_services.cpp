#include "systemif/print.h"
#include "systemif/print_backend.h"

#include "port_names.h"

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
const int kUnansweredPollLimit = 3;  // a spooler that stops answering ends the wait

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
    if (slot) slot->begin();
    int jobId = 0;
    // Reports the outcome unless a watchdog has taken the job over.
    auto report = [&](bool done) {
        if (slot && !slot->claimReport()) return;
        if (callback) callback(jobId, printerName, done);
    };
    Spooler* spooler = printBackend().spooler;
    std::unique_ptr<SpoolerJob> job = doc.size() > 0 ? spooler->createJob(printerName, docName) : nullptr;
    if (!job) {
        report(false);
        return 0;
    }
    jobId = job->id();
    if (slot && !slot->publish(spooler, printerName, jobId)) {
        // A watchdog gave up on this job before it was known; it must not print behind its back.
        spooler->cancel(printerName, jobId);
        return jobId;
    }
    if (!job->send(doc)) {
        spooler->cancel(printerName, jobId);
        report(false);
        return jobId;
    }
    std::chrono::milliseconds interval = kFirstPollInterval;
    for (int unanswered = 0;; interval = std::min(interval * 2, kLongestPollInterval)) {
        if (slot && slot->claimed()) return jobId;
        switch (job->state()) {
        case SpoolerJobState::Completed:
            report(true);
            return jobId;
        case SpoolerJobState::Failed:
            report(false);
            return jobId;
        case SpoolerJobState::Stopped:
            // Cancelled, so that it does not print when the printer is started again after the caller
            // has been told it failed.
            report(spooler->cancel(printerName, jobId) == SpoolerCancel::AlreadyCompleted);
            return jobId;
        case SpoolerJobState::Unknown:
            if (++unanswered >= kUnansweredPollLimit) {
                report(false);
                return jobId;
            }
            break;
        case SpoolerJobState::Pending:
        case SpoolerJobState::Processing:
            unanswered = 0;
            break;
        }
        std::this_thread::sleep_for(interval);  // where a killed worker stops
    }
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

bool PrintServics::libusbPrint(const Document& doc, const UsbDevice* device)
{
    return device && printBackend().usbBus->write(*device, doc);
}

QStringList PrintServics::collectUsbPrintSupportPrinters()
{
    return printBackend().usbPrintSupport->printers();
}

bool PrintServics::printByUsbPrintSupportPrinter(const Document& doc, const QString& model)
{
    return printBackend().usbPrintSupport->write(model, doc);
}

}  // namespace print
}  // namespace systemif
