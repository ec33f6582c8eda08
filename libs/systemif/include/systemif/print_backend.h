#pragma once
// The operating-system services behind the print operations of print.h, one small interface each: the
// spooler, the USB bus, the USB print-support printers and the serial ports. The machine's own services
// are used unless setPrintBackend names others (the fakes of print_fake.h in tests).

#include "systemif/print.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace systemif {
namespace print {

// One printer queue as the spooler lists it.
struct SpoolerQueue {
    QString name;
    QString makeAndModel;
    QString deviceUri;          // where the queue's jobs go: "socket://10.0.0.5:9100", "usb://Vendor/Model"
    bool stopped = false;       // the queue holds its jobs instead of printing them
    bool acceptingJobs = true;  // the queue takes new jobs
    QStringList stateReasons;   // the spooler's keywords for what is wrong ("media-empty-error"), if anything
    QString stateMessage;       // and its words for people
};

enum class SpoolerJobState {
    Pending,      // waiting for its printer
    Processing,   // being sent to the printer
    Completed,    // sent in full
    Failed,       // aborted or cancelled before it began printing: nothing of it reached the printer
    Interrupted,  // aborted or cancelled after it had begun printing: part of it may have
    Stopped,      // cannot go on: its printer is stopped
    Unknown,      // the spooler could not be asked
};

enum class SpoolerCancel {
    Cancelled,               // the job will not print: it had not begun
    CancelledWhilePrinting,  // the job will not print any more, but it had begun: part of it may have
    AlreadyCompleted,        // too late: the job had been sent in full
    Failed,                  // the spooler could not be told
};

// One job created at the spooler, held there until release(), with whatever connection it needs; the
// connection ends with the object.
class SpoolerJob {
public:
    virtual ~SpoolerJob() = default;
    virtual int id() const = 0;
    // Sends the document as the job's only, raw document; false when the spooler did not take it all.
    virtual bool send(const Document& doc) = 0;
    // Lets the held job print; false when the spooler did not say that it did.
    virtual bool release() = 0;
    // Asks the spooler for the job's state now.
    virtual SpoolerJobState state() = 0;
    // What the printer's side last said of the job (its backend's message), as of the last state();
    // empty when nothing.
    virtual QString message() const { return {}; }
};

class Spooler {
public:
    virtual ~Spooler() = default;
    // Every printer queue, in name order; false when the spooler cannot be asked.
    virtual bool queues(QList<SpoolerQueue>& queues) = 0;
    // Creates a held job on the printer, without its document yet; null when the spooler refused it.
    virtual std::unique_ptr<SpoolerJob> createJob(const QString& printer, const QString& docName) = 0;
    // Cancels a job, from any thread. Waits for the spooler's answer a short while only (a fraction of a
    // second): Failed when it did not come, and the caller tries again later.
    virtual SpoolerCancel cancel(const QString& printer, int jobId) = 0;
};

class UsbBus {
public:
    virtual ~UsbBus() = default;
    // Every attached device.
    virtual QList<UsbDevice> devices() = 0;
    // The printer interface's port status (the printer class's GET_PORT_STATUS: bit 5 paper empty, bit 4
    // selected, bit 3 not in error); false when the device does not answer.
    virtual bool portStatus(const UsbDevice& device, unsigned char* status) = 0;
    // Writes the document to the bulk OUT endpoint of the device's printer interface; gives up after a
    // few seconds without progress.
    virtual bool write(const UsbDevice& device, const Document& doc) = 0;
};

class UsbPrintSupport {
public:
    virtual ~UsbPrintSupport() = default;
    // The identifiers of the attached printers, in device order.
    virtual QStringList printers() = 0;
    // The printer's port status, with the bits of UsbBus::portStatus; false when it cannot be read.
    virtual bool portStatus(const QString& printer, unsigned char* status) = 0;
    // Writes the document to the printer of that identifier; gives up after a few seconds without
    // progress.
    virtual bool write(const QString& printer, const Document& doc) = 0;
};

class SerialPorts {
public:
    virtual ~SerialPorts() = default;
    // True when the serial device ("/dev/ttyUSB0") belongs to a USB device.
    virtual bool isUsbDevice(const QString& device) = 0;
    // True while the serial device is present.
    virtual bool isPresent(const QString& device) = 0;
};

// A network printer's own status, asked over a connection of its own.
class StatusLink {
public:
    virtual ~StatusLink() = default;
    virtual PrinterAnswer ask(const QString& host, int port) = 0;
};

// The services the print operations use. A null member stands for the machine's own service.
struct PrintBackend {
    Spooler* spooler = nullptr;
    UsbBus* usbBus = nullptr;
    UsbPrintSupport* usbPrintSupport = nullptr;
    SerialPorts* serialPorts = nullptr;
    StatusLink* statusLink = nullptr;
};

// The machine's own services (on Linux: CUPS, libusb, usblp devices, sysfs); every member is set.
PrintBackend systemPrintBackend();
// The services in use now; every member is set.
PrintBackend printBackend();
// Uses the given services from now on; null members select the machine's own. The objects must outlive
// their use. Meant to be called before print work starts (tests), not while jobs run.
void setPrintBackend(const PrintBackend& backend);

}  // namespace print
}  // namespace systemif
