#include "serial_ports_linux.h"
#include "status_link_socket.h"
#include "spooler_cups.h"
#include "usb_bus_libusb.h"
#include "usb_print_support_linux.h"

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
