#pragma once
// The machine's print services, in the terms of the spooler interface that the service is written against:
// level-2 printer records, raw jobs through the system spooler, raw USB printers reached through libusb,
// printers of the USB print-support class, and virtual COM ports.
//
// On Linux the spooler is CUPS: a printer record is a CUPS queue, its port name is derived from the
// queue's device URI ("USB001", "LPT1", "COM1", "IP_<host>"), and a job is sent raw, byte for byte.
// USB print-support printers are the kernel's usblp devices (/dev/usb/lp*). Which services stand behind
// these operations is chosen with setPrintBackend (print_backend.h): the machine's own by default, the
// in-memory fakes of print_fake.h in unit tests.
//
// No operation throws; failures come back as false, 0 or an empty list.

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <mutex>

namespace systemif {
namespace print {

class Spooler;

// The bytes of one print job. Copies what it is given; copies of a Document share the bytes.
class Document {
public:
    Document() = default;
    // Copies `size` bytes from `data`; a null pointer or a size below 1 gives an empty document.
    Document(const void* data, int size);
    explicit Document(const QByteArray& bytes) : m_bytes(bytes) {}

    const char* data() const { return m_bytes.constData(); }
    int size() const { return m_bytes.size(); }
    const QByteArray& bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

// Attribute bit of a printer record: the printer works offline (its queue is stopped or refuses jobs).
constexpr unsigned PRINTER_ATTRIBUTE_WORK_OFFLINE = 0x400;

// A level-2 printer record: the fields of the spooler's record that the service reads.
struct PRINTER_INFO_2W {
    QString pPrinterName;    // the spooler's name of the printer; the key of every spooler call
    QString pDriverName;     // make and model ("POS-80 Series", "Local Raw Printer")
    QString pPortName;       // "USB001", "LPT1", "COM1", "IP_192.168.1.20", or the device's scheme
    unsigned Attributes = 0; // PRINTER_ATTRIBUTE_* bits
};

// The part of a USB device descriptor that identifies the device.
struct UsbDeviceDescriptor {
    unsigned short idVendor = 0;
    unsigned short idProduct = 0;
};

// One attached USB device, as a value: it stays valid after later bus scans.
struct UsbDevice {
    QString bus;                     // the bus's name ("001")
    QString filename;                // the device's name on its bus ("004")
    UsbDeviceDescriptor descriptor;
    bool hasPrinterInterface = false; // one of its interfaces is of the printer class
};

// Called once with a spooler job's outcome: the job id (0 when the job never reached the spooler), the
// printer name, and whether the job printed.
using JobCallback = std::function<void(int jobId, const QString& printerName, bool done)>;

// The spooler job that a print worker is waiting on, published so that a watchdog that kills the worker
// can cancel the job at the spooler, and so that the job's outcome is reported exactly once.
//
// The worker owns a slot and binds it to its thread for as long as it runs (Binding, at the top of its
// run function); printBySystemPrinter publishes every job it submits in the slot of the calling thread.
// The worker calls clear() right after it has removed a finished job from its queue, with no blocking call
// in between. The watchdog kills the worker (QThread::terminate, then wait), calls cancel() and reports the
// killed job by the outcome:
//   NoJob            no spooler job of this item was under way (none submitted, or not a spooler job): false
//   Cancelled        cancelled at the spooler before it printed: false
//   Completed        it had printed when the cancel arrived: true
//   CancelFailed     the spooler could not be told; it may still print: false
//   AlreadyReported  the worker has called the job's callback already: report nothing
// Once cancel() has been called, printBySystemPrinter never calls its callback for that job, also when the
// worker is still running, so the two sides never both report.
class PrintJobSlot {
public:
    enum class Outcome { NoJob, Cancelled, Completed, CancelFailed, AlreadyReported };

    // Makes `slot` the slot of the calling thread until the binding is destroyed.
    class Binding {
    public:
        explicit Binding(PrintJobSlot& slot);
        ~Binding();
        Binding(const Binding&) = delete;
        Binding& operator=(const Binding&) = delete;

    private:
        PrintJobSlot* m_previous;
    };

    PrintJobSlot() = default;
    PrintJobSlot(const PrintJobSlot&) = delete;
    PrintJobSlot& operator=(const PrintJobSlot&) = delete;

    // Forgets the finished job: the next cancel() answers NoJob until a new job is submitted.
    void clear();
    // Cancels the published job at the spooler and says who reports it (see above). Safe from any thread.
    Outcome cancel();

private:
    friend class PrintServics;
    enum class State { Idle, Submitting, Waiting, Reported, Claimed };

    static PrintJobSlot* current();
    void begin();
    bool publish(Spooler* spooler, const QString& printer, int jobId);  // false when claimed meanwhile
    bool claimReport();  // true when the caller may report the outcome
    bool claimed();

    std::mutex m_mutex;  // guards every member below
    State m_state = State::Idle;
    Spooler* m_spooler = nullptr;
    QString m_printer;
    int m_jobId = 0;
};

// The print operations. Static, safe from any thread.
class PrintServics {
public:
    // A new record for the named printer (names compare case-insensitively), to be released with
    // freePrinterInfo2; false and a null record when the spooler has no such printer or cannot be asked.
    static bool queryPrinterInfo2(const QString& name, PRINTER_INFO_2W*& info);
    // Releases a record of queryPrinterInfo2 and nulls the pointer.
    static void freePrinterInfo2(PRINTER_INFO_2W*& info);
    // A new array of `count` records, every printer of the spooler in name order, to be released with
    // freePrinterInfo2List; false, 0 and null when the spooler cannot be asked.
    static bool printerInfo2List(int& count, PRINTER_INFO_2W*& infos);
    // Releases an array of printerInfo2List and nulls the pointer.
    static void freePrinterInfo2List(PRINTER_INFO_2W*& infos);

    // True when the COM port ("COM101") belongs to a USB device (a USB serial adapter or a printer with a
    // virtual COM port). `usbEnumKey` names the registry key that lists USB devices in the interface the
    // service is written against; on Linux the device tree itself tells, and the key is not read.
    static bool isVirtualCOMPort(const QString& portName, const QString& usbEnumKey);
    // True while the COM port's device is present.
    static bool isVirtualCOMPortConnected(const QString& portName);

    // Sends the document as one raw job to the spooler's printer and waits, on the calling thread, until
    // the spooler reports the job's end; then calls `callback` once: done = true when the job completed,
    // false when it could not be submitted, was aborted or cancelled, or its printer was stopped (the job
    // is then cancelled so that it never prints late). Returns the job id, 0 when the job never reached
    // the spooler. A job that never ends keeps the caller waiting: the print workers' watchdog ends it
    // (PrintJobSlot). An empty document is not sent (callback false).
    static int printBySystemPrinter(const QString& printerName, const QString& docName, const Document& doc,
                                    const JobCallback& callback);

    // Every attached USB device, in the USB library's order.
    static QList<UsbDevice> allUsbDevice();
    // The attached USB devices with a printer-class interface, in the same order.
    static QList<UsbDevice> allUsbPrinter();
    // Writes the document to the printer interface of the device; true when every byte was taken.
    static bool libusbPrint(const Document& doc, const UsbDevice* device);

    // The identifiers of the attached USB print-support printers, in device order ("/dev/usb/lp0").
    static QStringList collectUsbPrintSupportPrinters();
    // Writes the document to the USB print-support printer of that identifier; true when every byte was
    // taken.
    static bool printByUsbPrintSupportPrinter(const Document& doc, const QString& model);
};

}  // namespace print
}  // namespace systemif
