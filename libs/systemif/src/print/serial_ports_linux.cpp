#include "serial_ports_linux_p.h"

#include <QDir>
#include <QFileInfo>

namespace systemif {
namespace print {

SysfsSerialPorts::SysfsSerialPorts(const QString& sysRoot) : m_sysRoot(sysRoot) {}

namespace {

// Names that only USB devices get: the kernel's USB serial drivers' nodes, and udev's links to them. They
// tell a USB port also once the device has been unplugged and sysfs knows it no more.
bool hasUsbSerialName(const QString& device)
{
    const QString name = device.section(QLatin1Char('/'), -1);
    return name.startsWith(QLatin1String("ttyUSB")) || name.startsWith(QLatin1String("ttyACM")) ||
           (device.startsWith(QLatin1String("/dev/serial/")) && name.startsWith(QLatin1String("usb-"))) ||
           (device.startsWith(QLatin1String("/dev/serial/by-path/")) && name.contains(QLatin1String("-usb-")));
}

}  // namespace

bool SysfsSerialPorts::isUsbDevice(const QString& device)
{
    if (hasUsbSerialName(device)) return true;
    const QString name = device.section(QLatin1Char('/'), -1);
    if (name.isEmpty() || name == QLatin1String("..") || name == QLatin1String(".")) return false;
    const QString root = QFileInfo(m_sysRoot).canonicalFilePath();
    QString path = QFileInfo(m_sysRoot + QStringLiteral("/class/tty/") + name + QStringLiteral("/device"))
                       .canonicalFilePath();
    while (!root.isEmpty() && path.startsWith(root + QLatin1Char('/'))) {
        const QString subsystem = QFileInfo(path + QStringLiteral("/subsystem")).symLinkTarget();
        if (subsystem.section(QLatin1Char('/'), -1) == QLatin1String("usb")) return true;
        path = QFileInfo(path).path();
    }
    return false;
}

bool SysfsSerialPorts::isPresent(const QString& device)
{
    return !device.isEmpty() && QFileInfo::exists(device);
}

}  // namespace print
}  // namespace systemif
