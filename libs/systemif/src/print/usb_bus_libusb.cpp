#include "usb_bus_libusb_p.h"

#include <usb.h>

#include <algorithm>
#include <mutex>

namespace systemif {
namespace print {

namespace {

const int kChunkSize = 4096;
const int kWriteTimeoutMs = 5000;  // per chunk: a printer out of paper stops taking data
const int kGetPortStatusType = 0xa1;  // device to host, class request, to an interface
const int kGetPortStatus = 1;
const int kStatusTimeoutMs = 500;

std::mutex g_libusbMutex;  // guards every libusb call: the bus list is global

void rescan()
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { usb_init(); });
    usb_find_busses();
    usb_find_devices();
}

struct PrinterInterface {
    int number = -1;
    int altSetting = 0;
    int outEndpoint = -1;
};

// The first bulk OUT endpoint of an interface of the printer class.
PrinterInterface printerInterface(struct usb_device* device)
{
    if (!device->config) return {};
    for (int c = 0; c < device->descriptor.bNumConfigurations; ++c) {
        const usb_config_descriptor& config = device->config[c];
        for (int i = 0; i < config.bNumInterfaces; ++i) {
            const usb_interface& interface = config.interface[i];
            for (int a = 0; a < interface.num_altsetting; ++a) {
                const usb_interface_descriptor& setting = interface.altsetting[a];
                if (setting.bInterfaceClass != USB_CLASS_PRINTER) continue;
                for (int e = 0; e < setting.bNumEndpoints; ++e) {
                    const usb_endpoint_descriptor& endpoint = setting.endpoint[e];
                    if ((endpoint.bEndpointAddress & USB_ENDPOINT_DIR_MASK) == USB_ENDPOINT_OUT &&
                        (endpoint.bmAttributes & USB_ENDPOINT_TYPE_MASK) == USB_ENDPOINT_TYPE_BULK)
                        return {setting.bInterfaceNumber, setting.bAlternateSetting, endpoint.bEndpointAddress};
                }
            }
        }
    }
    return {};
}

UsbDevice valueOf(const struct usb_bus* bus, struct usb_device* device)
{
    UsbDevice value;
    value.bus = QString::fromLocal8Bit(bus->dirname);
    value.filename = QString::fromLocal8Bit(device->filename);
    value.descriptor.idVendor = device->descriptor.idVendor;
    value.descriptor.idProduct = device->descriptor.idProduct;
    value.hasPrinterInterface = printerInterface(device).number >= 0;
    return value;
}

class UsbHandle {
public:
    explicit UsbHandle(struct usb_device* device) : m_handle(usb_open(device)) {}
    ~UsbHandle()
    {
        if (m_claimed >= 0) usb_release_interface(m_handle, m_claimed);
        if (m_handle) usb_close(m_handle);
    }
    UsbHandle(const UsbHandle&) = delete;
    UsbHandle& operator=(const UsbHandle&) = delete;

    usb_dev_handle* get() const { return m_handle; }
    bool claim(int interface)
    {
        char driver[64];
        if (usb_get_driver_np(m_handle, interface, driver, sizeof driver) == 0)
            usb_detach_kernel_driver_np(m_handle, interface);
        if (usb_claim_interface(m_handle, interface) < 0) return false;
        m_claimed = interface;
        return true;
    }

private:
    usb_dev_handle* m_handle;
    int m_claimed = -1;
};

}  // namespace

QList<UsbDevice> LibusbBus::devices()
{
    std::lock_guard<std::mutex> lock(g_libusbMutex);
    rescan();
    QList<UsbDevice> devices;
    for (struct usb_bus* bus = usb_get_busses(); bus; bus = bus->next)
        for (struct usb_device* device = bus->devices; device; device = device->next) devices << valueOf(bus, device);
    return devices;
}

namespace {

// Finds the device again by bus and name and claims its printer interface (detaching a kernel driver that
// holds it), then calls `use`; false when the device has gone or cannot be claimed. Under g_libusbMutex.
template <typename Use>
bool withPrinter(const UsbDevice& wanted, Use use)
{
    rescan();
    for (struct usb_bus* bus = usb_get_busses(); bus; bus = bus->next) {
        for (struct usb_device* device = bus->devices; device; device = device->next) {
            const UsbDevice found = valueOf(bus, device);
            if (found.bus != wanted.bus || found.filename != wanted.filename ||
                found.descriptor.idVendor != wanted.descriptor.idVendor ||
                found.descriptor.idProduct != wanted.descriptor.idProduct)
                continue;
            const PrinterInterface printer = printerInterface(device);
            if (printer.number < 0) return false;
            UsbHandle handle(device);
            if (!handle.get() || !handle.claim(printer.number)) return false;
            if (printer.altSetting != 0 && usb_set_altinterface(handle.get(), printer.altSetting) < 0) return false;
            return use(handle, printer);
        }
    }
    return false;  // unplugged since it was listed
}

}  // namespace

bool LibusbBus::write(const UsbDevice& wanted, const Document& doc)
{
    std::lock_guard<std::mutex> lock(g_libusbMutex);
    return withPrinter(wanted, [&doc](UsbHandle& handle, const PrinterInterface& printer) {
        for (int offset = 0; offset < doc.size();) {
            const int chunk = std::min(kChunkSize, doc.size() - offset);
            const int written =
                usb_bulk_write(handle.get(), printer.outEndpoint, doc.data() + offset, chunk, kWriteTimeoutMs);
            if (written <= 0) return false;
            offset += written;
        }
        return true;
    });
}

bool LibusbBus::portStatus(const UsbDevice& wanted, unsigned char* status)
{
    std::lock_guard<std::mutex> lock(g_libusbMutex);
    return withPrinter(wanted, [status](UsbHandle& handle, const PrinterInterface& printer) {
        // The printer class's GET_PORT_STATUS: class request to the interface, one byte back.
        char byte = 0;
        const int got = usb_control_msg(handle.get(), kGetPortStatusType, kGetPortStatus, 0, printer.number, &byte, 1,
                                        kStatusTimeoutMs);
        *status = static_cast<unsigned char>(byte);
        return got == 1;
    });
}

}  // namespace print
}  // namespace systemif
