#pragma once
// In-memory stand-ins for the print services, for unit tests of the code above them (printer records,
// print threads, the watchdog). Integration tests use the real services instead.
//
//   systemif::print::FakePrintSystem fake;  // installed until it goes out of scope
//   fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
//   fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
//
// Every fake is safe to use from several threads. Not shipped: only tests link systemif::fakes.

#include "systemif/print_backend.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <memory>
#include <mutex>

namespace systemif {
namespace print {

class FakeSpooler : public Spooler {
public:
    enum class JobOutcome {
        Complete,  // the job prints
        Fail,      // the spooler aborts the job
        Hang,      // the job stays in processing until it is cancelled
        Refuse,    // the spooler refuses to create the job
    };
    struct Job {
        int id = 0;
        QString printer;
        QString docName;
        QByteArray bytes;  // what was sent; empty until the document arrived
        SpoolerJobState state = SpoolerJobState::Pending;
        bool released = false;  // held until then
        bool began = false;     // it has been processing
        int cancels = 0;        // cancels that reached it
    };

    FakeSpooler();
    ~FakeSpooler() override;

    // Adds a queue, or replaces the one of the same name. Queues are listed in name order.
    void addQueue(const QString& name, const QString& makeAndModel, const QString& deviceUri);
    void removeQueue(const QString& name);
    // A stopped queue keeps its jobs pending (they report Stopped); a queue not accepting refuses new ones.
    void setStopped(const QString& name, bool stopped);
    void setAcceptingJobs(const QString& name, bool accepting);
    // What the spooler says is wrong with the queue's printer: its keywords and its words for people.
    void setStateReasons(const QString& name, const QStringList& reasons, const QString& message = QString());
    // An unreachable spooler fails every call, as when the spooler service is down.
    void setReachable(bool reachable);
    // A frozen spooler answers nothing: each call waits until it thaws, or fails after the time-out a real
    // one would (a second, half a second for a cancel).
    void setFrozen(bool frozen);
    // What happens to the printer's jobs created from now on; Complete by default.
    void setJobOutcome(const QString& printer, JobOutcome outcome);
    // Ends a released job that has not ended yet, as its printer would: printed (Completed) or not (Failed,
    // or Interrupted once it has been processing).
    void finishJob(int jobId, bool printed);

    // Every job created so far, in creation order.
    QList<Job> jobs() const;
    // The bytes of the printer's completed jobs, in order.
    QList<QByteArray> printed(const QString& printer) const;

    bool queues(QList<SpoolerQueue>& queues) override;
    std::unique_ptr<SpoolerJob> createJob(const QString& printer, const QString& docName) override;
    SpoolerCancel cancel(const QString& printer, int jobId) override;

private:
    struct State;
    class FakeJob;
    std::shared_ptr<State> m_state;  // shared with the jobs handed out, which may outlive the spooler
};

class FakeUsbBus : public UsbBus {
public:
    // Attaches a device; a printer-class device takes documents.
    void attach(const UsbDevice& device);
    void detachAll();
    // Whether writes succeed; true by default.
    void setWriteResult(bool ok);
    // The documents written, per device filename, in order.
    QList<QByteArray> written(const QString& filename) const;
    // The port status its printers report; -1 for none (the request fails). 0x18 (selected, no error) by
    // default.
    void setPortStatus(int status);

    QList<UsbDevice> devices() override;
    bool write(const UsbDevice& device, const Document& doc) override;
    bool portStatus(const UsbDevice& device, unsigned char* status) override;

private:
    mutable std::mutex m_mutex;
    QList<UsbDevice> m_devices;
    QMap<QString, QList<QByteArray>> m_written;
    bool m_writeResult = true;
    int m_portStatus = 0x18;
};

class FakeUsbPrintSupport : public UsbPrintSupport {
public:
    void attach(const QString& printer);
    void detachAll();
    void setWriteResult(bool ok);
    QList<QByteArray> written(const QString& printer) const;
    // As FakeUsbBus::setPortStatus; the second takes effect with the next write (paper running out in a job).
    void setPortStatus(int status);
    void setPortStatusAfterWrite(int status);

    QStringList printers() override;
    bool write(const QString& printer, const Document& doc) override;
    bool portStatus(const QString& printer, unsigned char* status) override;

private:
    mutable std::mutex m_mutex;
    QStringList m_printers;
    QMap<QString, QList<QByteArray>> m_written;
    bool m_writeResult = true;
    int m_portStatus = 0x18;
    int m_portStatusAfterWrite = -2;  // none
};

// Network printers' answers to status requests, per host; a host not set is silent, as a printer without
// a way back (so that nothing in a test ever reaches out to the network).
class FakeStatusLink : public StatusLink {
public:
    void setAnswer(const QString& host, const PrinterAnswer& answer);
    // The hosts asked, in order.
    QStringList asked() const;

    PrinterAnswer ask(const QString& host, int port) override;

private:
    mutable std::mutex m_mutex;
    QMap<QString, PrinterAnswer> m_answers;
    QStringList m_asked;
};

class FakeSerialPorts : public SerialPorts {
public:
    // Declares a serial device ("/dev/ttyUSB0"): whether it hangs off a USB device, and whether it is there.
    void addPort(const QString& device, bool usb, bool present);
    void setPresent(const QString& device, bool present);

    bool isUsbDevice(const QString& device) override;
    bool isPresent(const QString& device) override;

private:
    struct Port {
        bool usb = false;
        bool present = false;
    };
    std::mutex m_mutex;
    QMap<QString, Port> m_ports;
};

// All four fakes, installed as the print backend while the object lives; the previous backend comes
// back when it is destroyed.
class FakePrintSystem {
public:
    FakePrintSystem();
    ~FakePrintSystem();
    FakePrintSystem(const FakePrintSystem&) = delete;
    FakePrintSystem& operator=(const FakePrintSystem&) = delete;

    FakeSpooler spooler;
    FakeUsbBus usbBus;
    FakeUsbPrintSupport usbPrintSupport;
    FakeSerialPorts serialPorts;
    FakeStatusLink statusLink;

private:
    PrintBackend m_previous;
};

}  // namespace print
}  // namespace systemif
