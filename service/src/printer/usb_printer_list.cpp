#include "printer/usb_printer_list_p.h"

#include "resource_parser/res_loader.h"
#include "utility_business/kelmo_path_info.h"

#include <QStringList>

#include <mutex>

namespace service_business {
namespace usb_printer_list {

namespace {
std::mutex g_mutex;
QList<UsbId> g_supported;  // guarded by g_mutex

bool readHexId(const QString& text, unsigned short& id)
{
    bool ok = false;
    const uint value = text.toUInt(&ok, 16);
    id = static_cast<unsigned short>(value);
    return ok && value <= 0xFFFF;
}
}  // namespace

QList<UsbId> parseSupportedList(const QString& text)
{
    QList<UsbId> list;
    for (QString line : text.split(QLatin1Char('\n'))) {
        line.remove(QLatin1Char('\r')).remove(QLatin1Char(' '));
        if (line.isEmpty()) continue;
        const QStringList parts = line.split(QLatin1Char(','));
        UsbId id;
        if (parts.size() == 2 && readHexId(parts[0], id.vendorId) && readHexId(parts[1], id.productId)) list << id;
    }
    return list;
}

QList<UsbId> supportedList()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_supported.isEmpty()) {
        const auto package = resource::ResLoader::get(utility_business::kelmoPathInfo().driversPakPath());
        g_supported = parseSupportedList(package->getFileText(QStringLiteral("libusb/supported")));
    }
    return g_supported;
}

bool isSupported(const systemif::print::UsbDevice& device, const QList<UsbId>& list)
{
    for (const UsbId& id : list)
        if (device.descriptor.idVendor == id.vendorId && device.descriptor.idProduct == id.productId) return true;
    return false;
}

bool findSupportedPrinter(systemif::print::UsbDevice& printer)
{
    const QList<UsbId> list = supportedList();
    for (const systemif::print::UsbDevice& device : systemif::print::PrintServics::allUsbPrinter()) {
        if (isSupported(device, list)) {
            printer = device;
            return true;
        }
    }
    return false;
}

}  // namespace usb_printer_list
}  // namespace service_business
