#include "serial_ports_linux_p.h"
#include "status_link_socket_p.h"
#include "spooler_cups_p.h"
#include "usb_bus_libusb_p.h"
#include "usb_print_support_linux_p.h"

namespace systemif {
namespace print {

PrintBackend systemPrintBackend()
{
    static CupsSpooler spooler;
    static LibusbBus usbBus;
    static UsblpPrintSupport usbPrintSupport;
    static SysfsSerialPorts serialPorts;
    static SocketStatusLink statusLink;
    return PrintBackend{&spooler, &usbBus, &usbPrintSupport, &serialPorts, &statusLink};
}

}  // namespace print
}  // namespace systemif
