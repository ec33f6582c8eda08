#pragma once
//
//  Private to systemif: not part of its interface.
//  Serial ports on Linux, told apart through sysfs.
//

#include "systemif/print_backend.h"

namespace systemif {
namespace print {

class SysfsSerialPorts : public SerialPorts {
public:
    explicit SysfsSerialPorts(const QString& sysRoot = QStringLiteral("/sys"));
    // True when the device's name is one only USB serial devices get (ttyUSB, ttyACM, udev's usb links),
    // or when, in sysfs, the tty's device or one of its ancestors belongs to the usb subsystem.
    bool isUsbDevice(const QString& device) override;
    // True while the device node exists.
    bool isPresent(const QString& device) override;

private:
    QString m_sysRoot;
};

}  // namespace print
}  // namespace systemif
