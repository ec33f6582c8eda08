#include "systemif/print_fake.h"

namespace systemif {
namespace print {

void FakeUsbBus::attach(const UsbDevice& device)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_devices << device;
}

void FakeUsbBus::detachAll()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_devices.clear();
}

void FakeUsbBus::setWriteResult(bool ok)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_writeResult = ok;
}

QList<QByteArray> FakeUsbBus::written(const QString& filename) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_written.value(filename);
}

void FakeUsbBus::setPortStatus(int status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_portStatus = status;
}

bool FakeUsbBus::portStatus(const UsbDevice& device, unsigned char* status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const UsbDevice& attached : m_devices) {
        if (attached.bus != device.bus || attached.filename != device.filename || !attached.hasPrinterInterface)
            continue;
        if (m_portStatus < 0) return false;
        *status = static_cast<unsigned char>(m_portStatus);
        return true;
    }
    return false;
}

QList<UsbDevice> FakeUsbBus::devices()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_devices;
}

bool FakeUsbBus::write(const UsbDevice& device, const Document& doc)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const UsbDevice& attached : m_devices) {
        if (attached.bus != device.bus || attached.filename != device.filename || !attached.hasPrinterInterface)
            continue;
        if (!m_writeResult) return false;
        m_written[device.filename] << doc.bytes();
        return true;
    }
    return false;
}

void FakeUsbPrintSupport::attach(const QString& printer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_printers << printer;
}

void FakeUsbPrintSupport::detachAll()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_printers.clear();
}

void FakeUsbPrintSupport::setWriteResult(bool ok)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_writeResult = ok;
}

QList<QByteArray> FakeUsbPrintSupport::written(const QString& printer) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_written.value(printer);
}

QStringList FakeUsbPrintSupport::printers()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_printers;
}

bool FakeUsbPrintSupport::write(const QString& printer, const Document& doc)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_printers.contains(printer) || !m_writeResult) return false;
    m_written[printer] << doc.bytes();
    if (m_portStatusAfterWrite != -2) m_portStatus = m_portStatusAfterWrite;
    return true;
}

void FakeUsbPrintSupport::setPortStatus(int status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_portStatus = status;
}

void FakeUsbPrintSupport::setPortStatusAfterWrite(int status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_portStatusAfterWrite = status;
}

bool FakeUsbPrintSupport::portStatus(const QString& printer, unsigned char* status)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_printers.contains(printer) || m_portStatus < 0) return false;
    *status = static_cast<unsigned char>(m_portStatus);
    return true;
}

void FakeStatusLink::setAnswer(const QString& host, const PrinterAnswer& answer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[host] = answer;
}

QStringList FakeStatusLink::asked() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_asked;
}

PrinterAnswer FakeStatusLink::ask(const QString& host, int /*port*/)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_asked << host;
    PrinterAnswer silent;
    silent.reach = PrinterAnswer::Reach::Silent;
    return m_answers.value(host, silent);
}

}  // namespace print
}  // namespace systemif
