#pragma once
//
//  Private to systemif: not part of its interface.
//  USB print-support printers on Linux: the device nodes of
//  the kernel's usblp driver.
//

#include "systemif/print_backend.h"

namespace systemif {
namespace print {

// A printer's identifier is its device node ("/dev/usb/lp0"); documents are written to it directly.
class UsblpPrintSupport : public UsbPrintSupport {
public:
    explicit UsblpPrintSupport(const QString& deviceDir = QStringLiteral("/dev/usb"));
    // The "lpN" nodes of the device directory, in the order of N.
    QStringList printers() override;
    // Writes to one of the listed nodes; any other path is refused, so nothing else is ever written.
    bool write(const QString& printer, const Document& doc) override;
    // The kernel driver's port status (LPGETSTATUS), read from the device.
    bool portStatus(const QString& printer, unsigned char* status) override;

private:
    QString m_deviceDir;
};

}  // namespace print
}  // namespace systemif
