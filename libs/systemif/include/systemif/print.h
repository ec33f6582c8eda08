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

// What the spooler says of a queue now.
struct QueueState {
    bool stopped = false;
    bool acceptingJobs = true;
    QStringList reasons;  // the spooler's keywords for what is wrong ("media-empty-error"), if anything
    QString message;      // and its words for people
    QString deviceUri;    // where the queue's jobs go
};

// A network printer's answer to a status request (DLE EOT 1, 2 and 4).
struct PrinterAnswer {
    enum class Reach { Unreachable, Silent, Answered };
    Reach reach = Reach::Unreachable;
    unsigned char answers[3] = {0, 0, 0};
    int count = 0;   // answers received
    QString error;   // why it could not be reached
};

// Called once with a spooler job's outcome: the job id (0 when the job never reached the spooler), the
// printer name, and whether the job printed.
using JobCallback = std::function<void(int jobId, const QString& printerName, bool done)>;

// How a print job ended, as far as anyone can know.
enum class JobOutcome {
    Printed,      // the printer took every byte (the spooler completed the job, or the device the write)
    Failed,       // nothing of it can reach the paper any more: never sent, or cancelled before it printed
    Unconfirmed,  // bytes left for the printer and cannot be called back; it may or may not print
};

// One print job's control, shared by the print worker that prints it and whoever gives it up (a
// watchdog, a printer change, a user's cancel), so that its outcome is told exactly once and a job given up
// never prints later.
//
// The worker binds the job's slot to its thread while it prints it (Binding); the print operations below
// publish in the slot of the calling thread how far the job got: handed to the spooler (and held there),
// released to print, being written to a device. Whoever gives the job up calls claim(): from then on the
// print operations never call their callback for it, and settle() makes sure it cannot print any more,
// or says that it may:
//   not yet at the spooler, or held there     Failed; a held job is cancelled and can never print
//   released to print                          cancelled at the spooler: Failed when it had not begun,
//                                              Unconfirmed when it had (bytes may be at the printer),
//                                              Printed when it had completed; Unconfirmed while the
//                                              spooler does not answer (cancelPending() says so)
//   being written to a USB device              Unconfirmed
// Safe from any thread; no lock of the slot is held during a spooler request.
class PrintJobSlot {
public:
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

    struct Report {
        JobOutcome outcome = JobOutcome::Failed;
        int jobId = 0;   // the spooler's job id, 0 when the job never reached it
        QString reason;  // for people and the log: why it ended so
    };

    PrintJobSlot() = default;
    PrintJobSlot(const PrintJobSlot&) = delete;
    PrintJobSlot& operator=(const PrintJobSlot&) = delete;

    // Called with the spooler's job id once the job is handed over (on the printing thread, no lock held).
    void setHandedOver(std::function<void(int jobId)> handedOver);

    // Takes the job away from its print path; false when the path has told its outcome already.
    bool claim();
    // After claim(): one attempt to make the job unable to print (see above), with the outcome known now.
    Report settle();
    // Whether the last settle() could not reach the spooler, so that the job may still print; settle()
    // again until it can.
    bool cancelPending() const;
    // What settle() says when the spooler does not answer, for a caller that cannot wait for it.
    Report unanswered() const;

    // The outcome the print path told, or settle() found.
    Report report() const;

    // The print path's side: true when it may tell this outcome (the job was not given up, and not told).
    bool claimReport(const Report& report);
    bool claimed() const;
    // Whether bytes of the job have been handed to a device (so that part of it may have printed).
    bool begunWriting() const;

private:
    friend class PrintServics;
    enum class Stage { Idle, Held, Released, Writing };

    static PrintJobSlot* current();
    // The print operations' side. Each returns false once the job is claimed: the caller stops and tells
    // nothing.
    bool publish(Spooler* spooler, const QString& printer, int jobId);  // handed over, held
    bool advance(Stage stage);

    mutable std::mutex m_mutex;  // guards every member below; never held during a spooler request
    Stage m_stage = Stage::Idle;
    bool m_claimed = false;
    bool m_reported = false;
    bool m_cancelPending = false;
    Spooler* m_spooler = nullptr;
    QString m_printer;
    Report m_report;
    std::function<void(int)> m_handedOver;
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
    // is then cancelled so that it never prints late). The job is held at the spooler until its document
    // is there in full, so a document cut off half-way never prints. Returns the job id, 0 when the job
    // never reached the spooler. A job that never ends keeps the caller waiting while the spooler answers:
    // the print workers' watchdog gives it up (PrintJobSlot). An empty document is not sent (callback
    // false). The outcome in detail is in the slot of the calling thread.
    static int printBySystemPrinter(const QString& printerName, const QString& docName, const Document& doc,
                                    const JobCallback& callback);

    // Every attached USB device, in the USB library's order.
    static QList<UsbDevice> allUsbDevice();
    // The attached USB devices with a printer-class interface, in the same order.
    static QList<UsbDevice> allUsbPrinter();
    // Writes the document to the printer interface of the device; true when every byte was taken.
    static bool libusbPrint(const Document& doc, const UsbDevice* device);

    // The state of the spooler's queue of that name; false when there is none or the spooler is silent.
    static bool queueState(const QString& name, QueueState& state);
    // Asks the network printer at host:port for its status, over a connection of its own that lasts a
    // fraction of a second; every wait is short.
    static PrinterAnswer askPrinterStatus(const QString& host, int port);
    // The port status of a libusb printer or a USB print-support printer (bit 5 paper empty, bit 4
    // selected, bit 3 not in error); false when it cannot be read.
    static bool libusbPortStatus(const UsbDevice& device, unsigned char* status);
    static bool usbPrintSupportPortStatus(const QString& model, unsigned char* status);

    // The identifiers of the attached USB print-support printers, in device order ("/dev/usb/lp0").
    static QStringList collectUsbPrintSupportPrinters();
    // Writes the document to the USB print-support printer of that identifier; true when every byte was
    // taken.
    static bool printByUsbPrintSupportPrinter(const Document& doc, const QString& model);

private:
    // Marks the job of the calling thread as being written to a device, so that giving it up from now on
    // tells "unconfirmed"; false when it has been given up already and must not be written.
    static bool beginWriting();
};

}  // namespace print
}  // namespace systemif
